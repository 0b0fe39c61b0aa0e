// Saves a list in a folder of its own, and says what stands there, before and after what breaks it.
#pragma once

#include <gtest/gtest.h>
#include <mmskit/storage.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "tests/support/bytes.h"

namespace testing_support {

using Folder = std::map<std::string, std::string>;  // contents by file name

class Saves : public testing::Test {
  protected:
    explicit Saves(const std::string& parent = testing::TempDir())
        : folder_(parent + "mmskit-saves" + std::to_string(getpid())) {
        restore({});
    }
    ~Saves() override { std::filesystem::remove_all(folder_); }

    // All of a list of three values of a size.
    static std::string list_text(size_t size) {
        const std::string value(size, 'v');
        return "a" + value + "b" + value + "c" + value;
    }
    int32_t save(size_t size) const {
        tSCList list{};
        for (const char* key : {"a", "b", "c"})
            (void)fnSCFS_INI_WriteRAM(&list, key, std::string(size, 'v').c_str());
        const int32_t result = fnSCFS_Write_INI_To_File(path_.c_str(), &list);
        fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
        return result;
    }
    std::string load() const {
        tSCList list{};
        fnSCFS_INI_List_Init(path_.c_str(), &list);
        std::string all;
        for (const tSCListNode* node = list.pHead; node != nullptr; node = node->pNext) {
            const auto* entry = static_cast<const tSCFS_INI_Entry*>(node->pData);
            all += std::string(entry->pKey) + entry->pValue;
        }
        fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
        return all;
    }

    Folder snapshot() const {
        Folder out;
        for (const auto& entry : std::filesystem::directory_iterator(folder_))
            out[entry.path().filename()] = file_bytes(entry.path());
        return out;
    }
    void restore(const Folder& files) const {
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directory(folder_);
        for (const auto& [name, content] : files)
            std::ofstream(folder_ + "/" + name, std::ios::binary) << content;
    }

    std::string folder_;
    std::string path_ = folder_ + "/s.ini";
};

}  // namespace testing_support
