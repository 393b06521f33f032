// Repeats a recording through the bridge that the WebAssembly module has, natively and with the
// kernels of one level. Prints as JSON what the library answered, how long it took, and the
// checksum of the panorama in RGBA.
//
// usage: ozr_web_native FOLDER LEVEL QUALITY ROUNDS
#include "kernels/kernels.h"

#include <chrono>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <map>
#include <sstream>
#include <stdlib.h>
#include <string.h>
#include <string>
#include <vector>

extern "C" {
int32_t ozr_web_create(int32_t direction, int32_t overlap, int32_t quality);
uint8_t* ozr_web_frame(int32_t use, int32_t is_rgba, int32_t width, int32_t height);
int32_t ozr_web_preview();
int32_t ozr_web_picture(int32_t has_offset, int32_t x, int32_t y);
int32_t ozr_web_run();
const uint8_t* ozr_web_panorama_rgba();
const void* ozr_web_answer();
int32_t ozr_web_joint(int32_t index);
void ozr_web_destroy();
}

namespace
{

struct Call {
    std::string name;
    std::map<std::string, std::string> fields;
    std::vector<char> bytes;

    int number(const char* field) const { return atoi(fields.at(field).c_str()); }
};

// The words of the bridge's answer.
struct Answer {
    int32_t x, y, direction, width, height, stride, size, first, second, used;
    float numbers[6];
};

const Answer& _answer()
{
    return *static_cast<const Answer*>(ozr_web_answer());
}

Call _parse(const std::string& line, const std::string& folder)
{
    std::istringstream words(line);
    Call call;
    words >> call.name;
    for (std::string word; words >> word;) {
        const size_t equals = word.find('=');
        if (equals != std::string::npos)
            call.fields[word.substr(0, equals)] = word.substr(equals + 1);
    }
    if (call.fields.count("file") != 0) {
        std::ifstream file(folder + "/" + call.fields["file"], std::ios::binary);
        call.bytes.assign(std::istreambuf_iterator<char>(file), {});
    }
    return call;
}

std::vector<Call> _read(const std::string& folder)
{
    std::ifstream file(folder + "/calls.txt");
    std::vector<Call> calls;
    for (std::string line; std::getline(file, line);)
        calls.push_back(_parse(line, folder));
    return calls;
}

int32_t _direction(const std::string& name)
{
    const char* const names[] = {"auto", "right", "left", "down", "up"};
    for (int32_t i = 0; i < 5; ++i) {
        if (name == names[i])
            return i;
    }
    return -1;
}

uint32_t _checksum(const uint8_t* bytes, size_t size)
{
    uint32_t crc = 0xFFFFFFFFU;
    for (size_t i = 0; i < size; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320U & (0U - (crc & 1U)));
    }
    return ~crc;
}

void _write_frame(const Call& call, int32_t use)
{
    uint8_t* pixels = ozr_web_frame(use, 0, call.number("width"), call.number("height"));
    memcpy(pixels, call.bytes.data(), call.bytes.size());
}

// Milliseconds of a call, printed with its name and what it returned.
template <class Work>
void _time(const char* name, Work work)
{
    const auto start = std::chrono::steady_clock::now();
    const int32_t result = work();
    const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
    const Answer& answer = _answer();
    std::cout << "  {\"call\": \"" << name << "\", \"result\": " << result << ", \"x\": " << answer.x
              << ", \"y\": " << answer.y << ", \"milliseconds\": " << spent.count() << "},\n";
}

void _repeat(const Call& call, int32_t quality)
{
    if (call.name == "set_parameters")
        _time("create", [&] {
            return ozr_web_create(_direction(call.fields.at("direction")), call.number("overlap"), quality);
        });
    if (call.name == "detect_frame_to_stitch") {
        _write_frame(call, 0);
        _time("preview", [] { return ozr_web_preview(); });
    }
    if (call.name == "stitch_one_image") {
        _write_frame(call, 1);
        int x = 0;
        int y = 0;
        const bool has_offset = sscanf(call.fields.at("offset").c_str(), "%d,%d", &x, &y) == 2;
        _time("picture", [&] { return ozr_web_picture(has_offset ? 1 : 0, x, y); });
    }
    if (call.name == "run")
        _time("run", [] { return ozr_web_run(); });
}

void _describe_panorama()
{
    const uint8_t* rgba = ozr_web_panorama_rgba();
    const int32_t width = _answer().width;
    const int32_t height = _answer().height;
    const size_t size = rgba != nullptr ? static_cast<size_t>(width) * static_cast<size_t>(height) * 4 : 0;
    std::cout << "  {\"call\": \"panorama\", \"width\": " << width << ", \"height\": " << height
              << ", \"checksum\": " << _checksum(rgba, size) << "}";
    for (int32_t i = 0; ozr_web_joint(i) == 0; ++i) {
        const Answer& joint = _answer();
        std::cout << ",\n  {\"call\": \"joint\", \"first\": " << joint.first
                  << ", \"second\": " << joint.second << ", \"used\": " << joint.used << ", \"numbers\": [";
        for (int number = 0; number < 5; ++number)
            std::cout << (number > 0 ? ", " : "") << joint.numbers[number];
        std::cout << "]}";
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::cerr << "usage: ozr_web_native FOLDER LEVEL QUALITY ROUNDS\n";
        return 2;
    }
    for (const ozr::kernels::Kernels* const* level = ozr::kernels::kLevels; *level != nullptr; ++level) {
        if (strcmp((*level)->level, argv[2]) == 0)
            ozr::kernels::set_for_test(*level);
    }
    // A module keeps the memory that it once had; so does this, or page
    // faults would be most of its time.
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    const std::vector<Call> calls = _read(argv[1]);
    std::cout.precision(9);
    std::cout << "[\n";
    for (int round = 0; round < atoi(argv[4]); ++round) {
        std::cout << (round > 0 ? ",\n" : "");
        for (const Call& call : calls)
            _repeat(call, strcmp(argv[3], "refined") == 0 ? 1 : 0);
        _describe_panorama();
        ozr_web_destroy();
    }
    std::cout << "\n]\n";
    return 0;
}
