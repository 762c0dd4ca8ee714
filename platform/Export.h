// Symbol visibility of libplatform.
#pragma once

#define PLATFORM_API __attribute__((visibility("default")))
