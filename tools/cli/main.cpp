#include "cli/command_line.h"

int main(int argc, char** argv)
{
    return ozr_pano::run_command_line(argc, argv);
}
