// The texts the effect documents show to the user. Paths are joined without a separator of their
// own.
#pragma once

#include "platform/cstring.h"

namespace vardell::effect_text {

inline CString CannotOpenDocument(const CString& path) {
  return "Can not open effect document " + path + ".";
}
inline CString NotEffectDocument(const CString& path) {
  return path + " is not an effect document!";
}
inline CString WriteDocumentFailed(const CString& path) {
  return "Writing effect document " + path + " failed.";
}

}  // namespace vardell::effect_text
