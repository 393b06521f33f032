// Text files, and a working folder for each test of the program.
#ifndef FILES_H
#define FILES_H

#include "base/file_io.h"
#include "base/program_error.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <stdlib.h>

namespace fs = std::filesystem;

inline std::string read_text(const std::string& path)
{
    const std::vector<uint8_t> bytes = ozr_pano::read_file(path);
    return std::string(bytes.begin(), bytes.end());
}

inline void write_text(const std::string& path, const std::string& text)
{
    ozr_pano::write_file_whole(path, reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

// Expects each line of `parts` in the text.
inline void expect_lines(const std::string& text, const std::string& parts)
{
    std::istringstream lines(parts);
    for (std::string part; std::getline(lines, part);)
        EXPECT_NE(text.find(part), std::string::npos) << part << "\nis not in\n" << text.substr(0, 2000);
}

// Expects a ProgramError whose text contains `message`.
template <class Action>
void expect_error(Action action, const std::string& message)
{
    try {
        action();
        ADD_FAILURE() << "nothing was refused";
    } catch (const ozr_pano::ProgramError& error) {
        EXPECT_NE(std::string(error.what()).find(message), std::string::npos) << error.what();
    }
}

// A test with a working folder of its own.
class FolderTest : public testing::Test
{
protected:
    FolderTest()
    {
        char name[] = "/tmp/ozr-pano-test.XXXXXX";
        EXPECT_NE(mkdtemp(name), nullptr);
        fs::current_path(name);
    }
    ~FolderTest() override
    {
        const fs::path folder = fs::current_path();
        fs::current_path(home_);
        fs::remove_all(folder);
    }

private:
    const fs::path home_ = fs::current_path();
};

#endif
