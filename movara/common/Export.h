// Symbol visibility of what the module exports.
#pragma once

#define MOVARA_API __attribute__((visibility("default")))
