// Effect documents: one effect object (usually a CMultiEffects holding a list) stored with
// `ar << pEffect` in a CArchive, so the file begins with the object's class and the effects come
// back by class name. The files are byte for byte those the platform's archives write.
//
// These functions are the library's boundary for documents: they catch every exception, tell the
// user through ThrowErrorMessage and answer their failure value. The archive's own reason goes to
// the debug log.
#pragma once

#include "effects/effect_object.h"
#include "platform/cstring.h"
#include "platform/export.h"
#include "platform/file.h"

// The effect stored in the file from its current position, owned by the caller; null when the
// data is not an effect document (nothing is left allocated then).
VARDELL_API CEffectObj* LoadEffect(CFile& file);
VARDELL_API CEffectObj* LoadEffect(const CString& path);

// Writes pEffect (with the effects it holds) to the file from its current position; FALSE when
// pEffect is null or writing fails.
VARDELL_API BOOL StoreEffect(CFile& file, const CEffectObj* pEffect);
VARDELL_API BOOL StoreEffect(const CString& path, const CEffectObj* pEffect);
