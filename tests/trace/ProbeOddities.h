// Calls of the trace front end that no careful caller makes.
#pragma once

void logOddities();
