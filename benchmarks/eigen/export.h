// Marks what the module exports: functions under the names that the tables of routines look up. All
// else stays inside it, so that no code of this module is taken for that of another.
#pragma once

#define QSL_EIGEN extern "C" [[gnu::visibility("default")]]
