// Saves a list in a folder of its own, and says what stands there, before and after what breaks it;
// and what stands between the file layer and the system, so that each call can be watched and fail.
#pragma once

#include <gtest/gtest.h>
#include <mmskit/storage.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>

#include "tests/support/bytes.h"

namespace testing_support {

using Folder = std::map<std::string, std::string>;  // contents by file name

struct FileCall {
    char kind;  // opens, reads, writes, synchronizes, closes, moves, unlinks, or '-': another
    int fd = -1;
    const char *name = nullptr, *to = nullptr;
    const void* data = nullptr;
    size_t size = 0;
};
constexpr int call_done = -1;
// Told each call before it is made. Gives 0, call_done for one that is not to be made and succeeds,
// or the error with which it is to fail. (power_test.cpp)
inline std::function<int(const FileCall&)> on_file_call;

class Saves : public testing::Test {
  protected:
    Saves() { restore({}); }
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

    // In memory where there is such a folder: replacing a file lets a real disk wait.
    std::string folder_ = (access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : testing::TempDir()) +
                          "mmskit-saves" + std::to_string(getpid());
    std::string path_ = folder_ + "/s.ini";
};

}  // namespace testing_support
