// Text files, and a working folder for each test of the program.
#ifndef FILES_H
#define FILES_H

#include "base/file_io.h"
#include "base/program_error.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
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

// Reads a page and expects that what is opened in it is closed, the innermost first.
inline std::string read_page(const std::string& path)
{
    const std::string page = read_text(path);
    std::vector<std::string> open = {""};
    for (size_t at = page.find('<'); at != std::string::npos; at = page.find('<', at + 1)) {
        const std::string name = page.substr(at + 1, page.find_first_of(" >\n", at) - at - 1);
        const std::set<std::string> empty = {"!doctype", "meta", "link", "img", "input"};
        const bool is_alone = empty.count(name) != 0 || page[page.find('>', at) - 1] == '/';
        if (name[0] == '/') {
            EXPECT_EQ(name, '/' + open.back()) << page.substr(at, 200);
            open.resize(open.size() - (open.size() > 1 ? 1 : 0));
        } else if (!is_alone) {
            open.push_back(name);
        }
    }
    EXPECT_EQ(open.size(), 1U) << open.back();
    return page;
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
