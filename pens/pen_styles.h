// The process-wide list of pen-style files, read from the application's profile when the library
// starts. Entries are full paths; they are not checked for existence.
#pragma once

#include "platform/collections.h"
#include "platform/export.h"

// The list shared by the library (the tool bar's style chooser indexes it).
VARDELL_API CStringArray& PenStyleList();

// Empties the list and fills it from the profile's section "PenStyle": "count" entries named
// "Pen0", "Pen1", ..., each joined to the current directory. Called once at library start-up.
VARDELL_API void ReadPenStyles();
