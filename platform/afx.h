// The MFC/Win32 subset in one include, for code written the MFC way.
#pragma once

#include "platform/win_types.h"
#include "platform/geometry.h"
#include "platform/bitmap.h"
#include "platform/cstring.h"
#include "platform/object.h"
#include "platform/exception.h"
#include "platform/file.h"
#include "platform/collections.h"
#include "platform/sync.h"
#include "platform/thread.h"
#include "platform/wnd.h"
