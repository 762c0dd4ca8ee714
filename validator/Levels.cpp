#include "validator/Levels.h"

namespace validator {

std::span<const LevelText> levelTexts() {
  static constexpr LevelText kTexts[] = {
      {Level::loads, "loads",
       "the code is loaded, has the five exports, and makes an object that can be released"},
      {Level::exports, "exports", "what the exports answer, and the texts that hosts know by name"},
      {Level::slots, "slots", "the tables of the object's faces, slot by slot"},
      {Level::life, "life", "creation, activation, moves, deactivation, release"},
      {Level::messages, "messages", "session, channel and status messages, and what follows them"},
      {Level::records, "records", "the records that it sends and takes, byte by byte"},
      {Level::inside, "inside",
       "of movara alone: the tables behind the contract, and what is logged, word by word"},
      {Level::threads, "threads", "which thread it calls on, and what waits for what"},
      {Level::endings, "endings",
       "hosts that release it within its own calls; what is left behind"},
      {Level::sequences, "sequences", "random runs of steps against a model, from a seed"},
  };
  return kTexts;
}

}  // namespace validator
