// The pictures of docs/how-it-works.md that show the refined quality.
#ifndef REFINED_PICTURES_H
#define REFINED_PICTURES_H

#include <string>

// Throws ProgramError.
void make_refined_pictures(const std::string& folder);

#endif
