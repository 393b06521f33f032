// A run as one self-contained page: it asks for nothing outside itself.
#ifndef REPORT_PAGE_H
#define REPORT_PAGE_H

#include "report/html.h"
#include "report/journal.h"
#include "report/layout.h"
#include "report/library_log.h"

namespace ozr_pano
{

struct ReportPage {
    const Journal& journal;
    Layout layout;
    Picture panorama;  // without pixels when there is none
    const KeptLog& log;
    std::string library;                       // banner
    const Counterpart* counterpart = nullptr;  // null: not asked for
};

// Writes the page whole or not at all. Throws ProgramError.
void write_report_page(const std::string& path, const ReportPage& page);

// The page's style sheet and script.
extern const char kReportStyle[];
extern const char kReportScript[];

// The colour of a picture wherever the page shows it.
std::string picture_colour(size_t picture);

// The line of a seam, in pixels of the panorama.
void add_seam(const OverlapView& overlap, Html* html);

// The sections of page.cpp's neighbours: both qualities side by side (where that was asked for),
// how the pictures were joined, where their cameras looked (none for classic sweeps), and the
// motion of the previews.
void add_qualities_section(const ReportPage& page, Html* html);
void add_joints_section(const Journal& journal, const Layout& layout, Html* html);
void add_cameras_section(const Journal& journal, const Layout& layout, Html* html);
void add_motion_section(const Journal& journal, Html* html);

}  // namespace ozr_pano

#endif
