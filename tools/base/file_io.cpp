// Whole files in and out of memory. The codecs work on memory alone, so all that can go wrong with files is here.
#include "base/file_io.h"

#include "base/program_error.h"

#include <errno.h>
#include <fcntl.h>
#include <memory>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ozr_pano
{

namespace
{

// Far above any picture of ten per sweep, and an end to what a device file may pour out.
constexpr size_t kMaxFileBytes = size_t{512} << 20;
constexpr size_t kReadChunkBytes = size_t{1} << 20;

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using FileOwner = std::unique_ptr<FILE, CloseFile>;

std::string _directory_of(const std::string& path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

/** A file that vanishes unless it is moved to its final name. */
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string& target) : target_(target), name_(target + ".XXXXXX")
    {
        descriptor_ = mkstemp(&name_[0]);
        if (descriptor_ < 0)
            fail_file(target_, "written", errno);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile()
    {
        if (descriptor_ >= 0)
            close(descriptor_);
        if (!name_.empty())
            unlink(name_.c_str());
    }

    void write_all(const uint8_t* data, size_t size)
    {
        while (size > 0) {
            const ssize_t written = write(descriptor_, data, size);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                fail_file(target_, "written", errno);
            data += written;
            size -= static_cast<size_t>(written);
        }
    }

    void move_to_target()
    {
        // mkstemp creates private files; the result gets the mode of any newly created file.
        const mode_t mask = umask(0);
        umask(mask);
        const int mode_result = fchmod(descriptor_, 0666 & ~mask);
        const int close_result = close(descriptor_);
        descriptor_ = -1;
        if (mode_result != 0 || close_result != 0 || rename(name_.c_str(), target_.c_str()) != 0)
            fail_file(target_, "written", errno);
        name_.clear();
    }

private:
    std::string target_;
    std::string name_;
    int descriptor_ = -1;
};

}  // namespace

std::vector<uint8_t> read_file(const std::string& path)
{
    const FileOwner file(fopen(path.c_str(), "rb"));
    if (!file)
        fail_file(path, "read", errno);
    std::vector<uint8_t> bytes;
    size_t used = 0;
    do {
        if (used > kMaxFileBytes)
            fail("%s: larger than %zu MiB; give a smaller file", path.c_str(), kMaxFileBytes >> 20);
        bytes.resize(used + kReadChunkBytes);
        used += fread(bytes.data() + used, 1, kReadChunkBytes, file.get());
    } while (used == bytes.size());
    if (ferror(file.get()) != 0)
        fail_file(path, "read", errno);
    bytes.resize(used);
    return bytes;
}

void require_writable(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode))
        fail_file(path, "written", EISDIR);
    if (access(_directory_of(path).c_str(), W_OK | X_OK) != 0)
        fail_file(path, "written", errno);
}

void write_file_whole(const std::string& path, const uint8_t* data, size_t size)
{
    TemporaryFile file(path);
    file.write_all(data, size);
    file.move_to_target();
}

}  // namespace ozr_pano
