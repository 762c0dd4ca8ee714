#include "meeting/cli/Commands.h"

namespace meeting {

std::vector<Command> commands() { return {presentCommand(), inspectCommand(), validateCommand()}; }

}  // namespace meeting
