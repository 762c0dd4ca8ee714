// Small text helpers of the application object's construction. [any-thread]
#pragma once

#include <string>
#include <vector>

#include "ucf/Types.h"

// The text of a narrow or wide string variant as UTF-8; empty for null, other types and text that
// cannot be converted.
std::string stringValueFromUCFVariant(tagUCFVariant* variant);

// The non-empty stretches of `text` between characters of the delimiter set, in order.
std::vector<std::string> divideStr(const std::string& text, std::string delimiters);

// Whether files with this extension (without the dot, in any case) carry sound only.
bool isAudioOnly(const char* extension);
