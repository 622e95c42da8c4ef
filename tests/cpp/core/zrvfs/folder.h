#pragma once

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

/// The working directory of a test: a folder of its own that is gone with it, as real paths are relative.
class Folder : public testing::Test
{
protected:
    Folder()
    {
        std::filesystem::create_directories(folder);
        std::filesystem::current_path(folder);
    }
    ~Folder() override
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(folder);
    }

    static void writeFile(const std::filesystem::path& path, const std::string& content)
    {
        if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }

    const std::filesystem::path before = std::filesystem::current_path();
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("zrvfs_test_" + std::to_string(getpid()));
};
