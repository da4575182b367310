// The codec's handling of libjpeg's errors and warnings. An error, and a warning that means image
// data was lost, jump back to the setjmp point of the call in progress instead of ending the
// process. Nothing is printed unless the environment variable VARDELL_DEBUG is set to a value
// other than "" or "0" (then each message goes to standard error as a developer diagnostic).
#pragma once

#include <csetjmp>
#include <cstddef>
#include <cstdio>

#include <jpeglib.h>

namespace vardell::jpeg {

// Lives as long as the libjpeg object it serves; pub comes first because libjpeg hands it back
// as a jpeg_error_mgr*.
struct ErrorManager {
  jpeg_error_mgr pub;
  std::jmp_buf jump;
  jpeg_progress_mgr progress;
  int max_scans;
};

// Fills manager and answers the pointer to store in cinfo.err before jpeg_create_*.
jpeg_error_mgr* InitErrorManager(ErrorManager& manager);

// Makes a decompressor fail once its input has more than max_scans scans: a tiny file can
// otherwise hold thousands of progressive scans that each cost a pass over the whole picture.
void LimitScans(j_decompress_ptr cinfo, ErrorManager& manager, int max_scans);

// The warnings that make a decode fail: the data ended early, or entropy-coded data was lost or
// had to be skipped, so the picture would be partly invented.
bool IsFatalWarning(int msg_code);

}  // namespace vardell::jpeg
