// The summary of a run on standard output.
#ifndef SUMMARY_H
#define SUMMARY_H

#include "report/journal.h"

namespace ozr_pano
{

/** Prints a table for people, or one JSON object. */
void print_summary(const Journal& journal, bool json);

}  // namespace ozr_pano

#endif
