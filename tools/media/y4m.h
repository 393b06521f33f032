// YUV4MPEG2 streams of 4:2:0 frames.
#ifndef Y4M_H
#define Y4M_H

#include <ozr_image.h>

#include <stdio.h>
#include <string>
#include <vector>

namespace ozr_pano
{

/** Reads a stream frame by frame; every failure throws ProgramError naming the stream and the reason. */
class Y4mReader
{
public:
    /**
     * Reads the stream's header.
     *
     * @param file  open for reading, a pipe is enough; stays the caller's.
     * @param name  for messages.
     */
    Y4mReader(FILE* file, std::string name);

    /** Size of the stream's frames, odd or even. */
    int32_t width() const { return width_; }
    int32_t height() const { return height_; }

    /**
     * Reads the next frame into an NV12 image of the stream's size rounded down to even numbers.
     *
     * @return false at the end of the stream.
     */
    bool read_frame(ozr_image* frame);

private:
    bool read_line(std::string* line);
    void read_plane(std::vector<uint8_t>* plane);

    FILE* file_;
    std::string name_;
    int32_t width_ = 0;
    int32_t height_ = 0;
    uint32_t frames_ = 0;  // read so far
    std::vector<uint8_t> luma_, u_, v_;
};

}  // namespace ozr_pano

#endif
