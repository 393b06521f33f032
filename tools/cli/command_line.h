// The command line of ozr-pano: what it accepts, its help, and its exit statuses.
#ifndef COMMAND_LINE_H
#define COMMAND_LINE_H

namespace ozr_pano
{

/**
 * Runs the command that the arguments name; argv[0] is the program's own name. What cannot be done is said on standard
 * error in one line. Returns the exit status: 0 done, 1 failed, 2 not understood, 3 a replay's answers differ.
 */
int run_command_line(int argc, char** argv);

}  // namespace ozr_pano

#endif
