#include "bench/Options.h"

#include <CLI/CLI.hpp>
#include <cstdlib>

namespace bench {

Options parseOptions(int argc, char** argv, const char* description) {
  Options options;
  CLI::App app(description);
  app.add_option("FILE", options.file, "Movie to play")->required()->check(CLI::ExistingFile);
  app.add_option("--threads", options.threads, "Threads of the video decoder (0: chosen)");
  app.add_flag("--paced", options.paced, "Play in real time");
  app.add_flag("--convert-thread", options.convertThread, "Convert on a thread of its own");
  app.add_flag("--first", options.first, "End with the first picture");
  app.add_option("--duration", options.duration, "End after that many seconds of movie time");
  app.add_option("--seeks", options.seeks, "Seek to these seconds, standing")->delimiter(',');
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::exit(app.exit(error));  // NOLINT(concurrency-mt-unsafe): the only thread
  }
  return options;
}

}  // namespace bench
