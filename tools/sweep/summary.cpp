// The summary of a run, as text and as JSON.
#include "sweep/summary.h"

#include "base/names.h"
#include "base/quoting.h"

#include <algorithm>
#include <stdio.h>

namespace ozr_pano
{

namespace
{

// The offsets of the pictures, where they were measured.
void _print_table(const std::vector<PictureEntry>& pictures)
{
    const bool with_truth = pictures.back().has_truth;
    printf("picture  from        offset (x y)%s\n", with_truth ? "     truth (x y)       error (x y)" : "");
    for (size_t i = 0; i < pictures.size(); ++i) {
        const PictureEntry& picture = pictures[i];
        printf("%7zu  %s", i, picture.source.c_str());
        if (picture.has_offset)
            printf("%*s%+6d %+5d", std::max(12 - static_cast<int>(picture.source.size()), 1), "",
                   picture.offset.x, picture.offset.y);
        if (picture.has_truth)
            printf("   %+7.1f %+6.1f   %+7.1f %+6.1f", picture.truth_x, picture.truth_y,
                   picture.offset.x - picture.truth_x, picture.offset.y - picture.truth_y);
        putchar('\n');
    }
}

// The joints of the panorama; those that reach over a picture come last.
void _print_joints(const Journal& journal)
{
    if (journal.joints.empty())
        return;
    puts("joint    offset (x y)      residual  confidence  gain");
    for (const ozr_panorama_joint& joint : journal.joints) {
        printf("%2d %2d  %+8.1f %+8.1f  ", joint.first, joint.second, static_cast<double>(joint.offset_x),
               static_cast<double>(joint.offset_y));
        if (joint.residual < 0)
            printf("%8s", "-");
        else
            printf("%8.2f", static_cast<double>(joint.residual));
        printf("  %10.2f  %4.2f%s\n", static_cast<double>(joint.confidence), static_cast<double>(joint.gain),
               joint.used != 0 ? "" : "  not used");
    }
}

void _print_cameras(const Journal& journal)
{
    if (journal.cameras.empty())
        return;
    puts("camera     yaw   pitch    roll   focal  radial  gain");
    for (size_t i = 0; i < journal.cameras.size(); ++i) {
        const ozr_panorama_camera& camera = journal.cameras[i];
        if (camera.used != 0)
            printf("%6zu %+7.2f %+7.2f %+7.2f %7.1f %+7.4f  %4.2f\n", i, static_cast<double>(camera.yaw),
                   static_cast<double>(camera.pitch), static_cast<double>(camera.roll),
                   static_cast<double>(camera.focal_length), static_cast<double>(camera.radial),
                   static_cast<double>(camera.gain));
    }
}

void _print_text(const Journal& journal)
{
    printf("%s: direction %s, %zu pictures of %dx%d", journal.command.c_str(),
           direction_name(journal.direction), journal.pictures.size(), journal.picture_width,
           journal.picture_height);
    if (!journal.previews.empty())
        printf(", %zu previews", journal.previews.size());
    putchar('\n');
    if (journal.pictures.back().has_offset)
        _print_table(journal.pictures);
    _print_joints(journal);
    _print_cameras(journal);
    printf("%s panorama %dx%d from %d of %zu pictures\n", quality_name(journal.quality), journal.width,
           journal.height, journal.pictures_used, journal.pictures.size());
    const char* separator = "time";
    for (const Journal::Stage& stage : journal.stages) {
        printf("%s %s %.0f ms", separator, stage.name.c_str(), stage.time.count());
        separator = ",";
    }
    putchar('\n');
    if (!journal.output.empty())
        printf("written to %s\n", journal.output.c_str());
    if (!journal.report.empty())
        printf("report in %s\n", journal.report.c_str());
}

void _print_json_pictures(const std::vector<PictureEntry>& pictures)
{
    const char* separator = "";
    for (const PictureEntry& picture : pictures) {
        printf("%s{\"from\":%s", separator, json_quoted(picture.source).c_str());
        if (picture.has_offset)
            printf(",\"offset\":[%d,%d]", picture.offset.x, picture.offset.y);
        if (picture.has_truth)
            printf(",\"truth\":[%.2f,%.2f]", picture.truth_x, picture.truth_y);
        putchar('}');
        separator = ",";
    }
}

void _print_json_joints(const Journal& journal)
{
    const char* separator = ",\"joints\":[";
    for (const ozr_panorama_joint& joint : journal.joints) {
        printf("%s{\"pictures\":[%d,%d],\"offset\":[%.2f,%.2f],\"residual\":%.3f,\"confidence\":%.3f,"
               "\"gain\":%.4f,\"used\":%s}",
               separator, joint.first, joint.second, static_cast<double>(joint.offset_x),
               static_cast<double>(joint.offset_y), static_cast<double>(joint.residual),
               static_cast<double>(joint.confidence), static_cast<double>(joint.gain),
               joint.used != 0 ? "true" : "false");
        separator = ",";
    }
    printf("%s]", journal.joints.empty() ? separator : "");
}

void _print_json_cameras(const Journal& journal)
{
    if (journal.cameras.empty())
        return;
    const char* separator = ",\"cameras\":[";
    for (const ozr_panorama_camera& camera : journal.cameras) {
        printf("%s{\"yaw\":%.4f,\"pitch\":%.4f,\"roll\":%.4f,\"focal_length\":%.2f,\"radial\":%.5f,"
               "\"gain\":%.4f,\"used\":%s}",
               separator, static_cast<double>(camera.yaw), static_cast<double>(camera.pitch),
               static_cast<double>(camera.roll), static_cast<double>(camera.focal_length),
               static_cast<double>(camera.radial), static_cast<double>(camera.gain),
               camera.used != 0 ? "true" : "false");
        separator = ",";
    }
    putchar(']');
}

void _print_json(const Journal& journal)
{
    printf("{\"command\":%s,\"quality\":\"%s\",\"direction\":\"%s\",\"picture_size\":[%d,%d],\"previews\":%"
           "zu,\"pictures\":[",
           json_quoted(journal.command).c_str(), quality_name(journal.quality),
           direction_name(journal.direction), journal.picture_width, journal.picture_height,
           journal.previews.size());
    _print_json_pictures(journal.pictures);
    putchar(']');
    _print_json_joints(journal);
    _print_json_cameras(journal);
    printf(",\"pictures_used\":%d,\"panorama_size\":[%d,%d],\"milliseconds\":{", journal.pictures_used,
           journal.width, journal.height);
    const char* separator = "";
    for (const Journal::Stage& stage : journal.stages) {
        printf("%s%s:%.2f", separator, json_quoted(stage.name).c_str(), stage.time.count());
        separator = ",";
    }
    printf("},\"output\":%s", json_quoted(journal.output).c_str());
    if (!journal.report.empty())
        printf(",\"report\":%s", json_quoted(journal.report).c_str());
    puts("}");
}

}  // namespace

void print_summary(const Journal& journal, bool json)
{
    if (json)
        _print_json(journal);
    else
        _print_text(journal);
}

}  // namespace ozr_pano
