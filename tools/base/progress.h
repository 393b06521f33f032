// The line on a terminal that says what is being done.
#ifndef PROGRESS_H
#define PROGRESS_H

namespace ozr_pano
{

/** Overwrites one line of standard error; shows nothing unless that is a terminal. */
class Progress
{
public:
    /** @param wanted  false keeps quiet also on a terminal, where other output would mix with the line. */
    explicit Progress(bool wanted);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { clear(); }

    void show(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void clear();

private:
    bool enabled_;
    bool shown_ = false;
};

}  // namespace ozr_pano

#endif
