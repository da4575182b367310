#include "jpegcodec/jpeg_error.h"

#include <cstdlib>
#include <string_view>

#include <jerror.h>

namespace vardell::jpeg {
namespace {

// Developer diagnostics, switched on by VARDELL_DEBUG (any value but "" and "0").
bool LogEnabled() {
  static const bool enabled = [] {
    const char* v = std::getenv("VARDELL_DEBUG");
    return v && *v && std::string_view(v) != "0";
  }();
  return enabled;
}

void OutputMessage(j_common_ptr cinfo) {
  if (!LogEnabled()) return;
  char text[JMSG_LENGTH_MAX];
  (*cinfo->err->format_message)(cinfo, text);
  std::fprintf(stderr, "vardell jpeg: %s\n", text);
}

[[noreturn]] void ErrorExit(j_common_ptr cinfo) {
  (*cinfo->err->output_message)(cinfo);
  std::longjmp(reinterpret_cast<ErrorManager*>(cinfo->err)->jump, 1);
}

// Level -1 is a warning; higher levels are trace messages, which are dropped.
void EmitMessage(j_common_ptr cinfo, int level) {
  if (level >= 0) return;
  if (IsFatalWarning(cinfo->err->msg_code)) ErrorExit(cinfo);
  ++cinfo->err->num_warnings;
  (*cinfo->err->output_message)(cinfo);
}

void ProgressMonitor(j_common_ptr cinfo) {
  if (!cinfo->is_decompressor) return;
  auto* manager = reinterpret_cast<ErrorManager*>(cinfo->err);
  if (reinterpret_cast<j_decompress_ptr>(cinfo)->input_scan_number > manager->max_scans) {
    if (LogEnabled())
      std::fprintf(stderr, "vardell jpeg: more than %d scans\n", manager->max_scans);
    std::longjmp(manager->jump, 1);
  }
}

}  // namespace

jpeg_error_mgr* InitErrorManager(ErrorManager& manager) {
  jpeg_error_mgr* err = jpeg_std_error(&manager.pub);
  err->error_exit = ErrorExit;
  err->emit_message = EmitMessage;
  err->output_message = OutputMessage;
  manager.max_scans = 0;
  return err;
}

void LimitScans(j_decompress_ptr cinfo, ErrorManager& manager, int max_scans) {
  manager.max_scans = max_scans;
  manager.progress = {};
  manager.progress.progress_monitor = ProgressMonitor;
  cinfo->progress = &manager.progress;
}

bool IsFatalWarning(int msg_code) {
  switch (msg_code) {
    case JWRN_JPEG_EOF:           // premature end of data
    case JWRN_HIT_MARKER:         // a marker cut a scan short
    case JWRN_HUFF_BAD_CODE:      // undecodable entropy data
    case JWRN_ARITH_BAD_CODE:     // likewise, arithmetic coding
    case JWRN_MUST_RESYNC:        // lost restart-marker sync: MCUs skipped
    case JWRN_NOT_SEQUENTIAL:     // a scan's position broken
    case JWRN_BOGUS_PROGRESSION:  // coefficients refined that were never sent
      return true;
    default:  // e.g. extraneous bytes before a marker, unknown Adobe transform, bad ICC chunk
      return false;
  }
}

}  // namespace vardell::jpeg
