// The options that the programs of scripts/bench have in common.
#pragma once

#include <string>
#include <vector>

namespace bench {

struct Options {
  std::string file;
  int threads = 0;             // of the video decoder; 0 leaves it to the program
  bool paced = false;          // in real time, instead of as fast as it goes
  bool convertThread = false;  // convert pictures on a thread of its own
  bool first = false;          // end with the first picture
  double duration = 0;         // end after that many seconds of movie time; 0: with the movie
  std::vector<double> seeks;   // do these seeks while standing, in seconds, instead of playing
};

// Ends the program when they cannot be understood, or on --help.
Options parseOptions(int argc, char** argv, const char* description);

}  // namespace bench
