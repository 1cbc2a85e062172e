// A folder of its own for a test, removed with all that is in it, and files in it.
#pragma once

#include "tests/system.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

struct TempFolder {
    std::string path; // full, without a slash at the end

    explicit TempFolder(const std::string& in = testing::TempDir()) : path(system_newfolder(in))
    {
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::permissions(path, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string file(const std::string& name) const
    {
        return (std::filesystem::path(path) / name).string();
    }

    bool has(const std::string& name) const
    {
        return std::filesystem::exists(file(name));
    }

    // Names of all that is in the folder, in the order of the alphabet.
    std::vector<std::string> names() const
    {
        std::vector<std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            result.push_back(entry.path().filename().string());
        }
        std::sort(result.begin(), result.end());
        return result;
    }
};

inline void write_text(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    ASSERT_TRUE(out.good()) << path;
}

inline std::string read_text(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.good()) << path;
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}
