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
    std::string library;  // banner
};

/** Writes the page whole or not at all. Throws ProgramError. */
void write_report_page(const std::string& path, const ReportPage& page);

/** The page's style sheet and script. */
extern const char kReportStyle[];
extern const char kReportScript[];

/** The section with the motion of the previews; none without previews. */
void add_motion_section(const Journal& journal, Html* html);

}  // namespace ozr_pano

#endif
