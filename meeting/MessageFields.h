// What the fields of each record say, by the names that the records give them. [any-thread]
#pragma once

#include <cstdint>

#include "meeting/MessageTable.h"

namespace meeting {

// For messages without a record, or whose record is not read.
struct NoRecord {};

// Of a request for ids: each argument points to one.
struct DocumentId {
  std::uint64_t id;
};

// Of a refused join.
struct JoinFailure {
  std::int32_t code;
};

// The fields of a message that carries an R; none when it carried less than that. Defined for the
// records of mmp/ and those above.
template <class R>
Fields fieldsAs(const RawMessage& message);

}  // namespace meeting
