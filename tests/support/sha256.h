// SHA-256, for comparing bytes with facts that only know their digest; sha256sum makes it.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace testing_support {

// In lower-case hexadecimal.
inline std::string sha256(const std::string& data) {
    const std::string file =
        std::filesystem::temp_directory_path() / ("mmskit-digest" + std::to_string(getpid()));
    std::ofstream(file, std::ios::binary) << data;
    char digest[65] = {};
    std::FILE* told = popen(("sha256sum <'" + file + "'").c_str(), "r");
    if (std::fread(digest, 1, 64, told) != 64) *digest = '\0';
    pclose(told);
    std::filesystem::remove(file);
    return digest;
}

}  // namespace testing_support
