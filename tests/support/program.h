// Runs the program as its users do, in a folder with places for what it reads and writes.
#ifndef PROGRAM_H
#define PROGRAM_H

#include "support/files.h"

#include <set>

struct Outcome {
    int status;  // exit code, -1 after a signal
    std::string out, err;
};

class ProgramTest : public FolderTest
{
protected:
    ProgramTest()
    {
        fs::create_directory("in");
        fs::create_directory("out");
    }

    // Runs the program; `before` is shell text before its name.
    static Outcome run(const std::string& arguments, const std::string& before = "")
    {
        const int status = system((before + " " OZR_PANO " >stdout 2>stderr " + arguments).c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_text("stdout"), read_text("stderr")};
    }

    // Runs what succeeds without a complaint, and returns its output.
    static std::string run_well(const std::string& arguments)
    {
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0) << arguments << ": " << outcome.err;
        EXPECT_EQ(outcome.err, "") << arguments;
        return outcome.out;
    }

    static std::set<std::string> files_in_out()
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator("out"))
            names.insert(entry.path().filename());
        return names;
    }
};

// Expects exactly one line of the program's own that has `message` in it.
inline void expect_message(const std::string& text, const std::string& message)
{
    EXPECT_EQ(text.rfind("ozr-pano: ", 0), 0U) << text;
    EXPECT_EQ(text.find('\n'), text.size() - 1) << text;
    EXPECT_NE(text.find(message), std::string::npos) << text;
}

#endif
