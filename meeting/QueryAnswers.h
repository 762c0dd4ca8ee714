// The platform's answers to queries. [main-thread]
#pragma once

#include "meeting/DocumentStream.h"
#include "mmp/RequestRecords.h"

namespace meeting {

// Fills the answer words; the result is what the request answers.
UCFResult answerQuery(tagQuery& query, const DocumentStream& stream);

}  // namespace meeting
