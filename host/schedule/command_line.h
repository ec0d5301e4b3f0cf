#ifndef KEST_HOST_SCHEDULE_COMMAND_LINE_H_
#define KEST_HOST_SCHEDULE_COMMAND_LINE_H_

#include <string>
#include <string_view>
#include <vector>

namespace kest {

// Splits a job's command line into the program and its arguments: words between blanks; a word in double quotes may
// hold blanks, and every character between the quotes stands for itself. Nothing else has a meaning, so no text in a
// command line is ever code: $, ;, % and \ are characters like others.
//
//     /usr/kest/bin/kestnetbkp -a "my photos"   ->   /usr/kest/bin/kestnetbkp, -a, my photos
//
// @param words  the words; untouched on failure
// @return false when the line cannot be read in one way only: a quote within a word or without its partner, a control
//         character (so newline and tab), or a program that is not named by its whole path
bool SplitCommandLine(std::string_view line, std::vector<std::string>* words);

}  // namespace kest

#endif  // KEST_HOST_SCHEDULE_COMMAND_LINE_H_
