// Symbol visibility of libavcapture.
#pragma once

#define AVCAPTURE_API __attribute__((visibility("default")))
