// libFuzzer target of effect-document loading: the input read by LoadEffect from memory. A loaded
// effect must store again, load back and store to the same bytes; a small one is also run on a
// small picture, so that stored parameters of any value go through the effects' operations. The
// effects tests include this file to run it over a seeded corpus.
#include "effects/effects.h"
#include "platform/mem_file.h"
#include "hostutil/messages.h"
#include "picture/picture.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace vardell::fuzz_effects {

// Every effect class, so that a static link keeps (and registers) them all.
inline const CRuntimeClass* const kEffectClasses[] = {
    RUNTIME_CLASS(CEffectObj), RUNTIME_CLASS(CColorAdjust), RUNTIME_CLASS(CMirror),
    RUNTIME_CLASS(CSoften),    RUNTIME_CLASS(CSharpen),     RUNTIME_CLASS(CGray),
    RUNTIME_CLASS(CLight),     RUNTIME_CLASS(CGrayBalance), RUNTIME_CLASS(CMultiEffects)};

// The effects in a tree, the lists themselves included.
inline int CountEffects(const CEffectObj* effect) {
  if (!effect) return 0;
  int n = 1;
  if (effect->IsKindOf(RUNTIME_CLASS(CMultiEffects))) {
    const auto* list = static_cast<const CMultiEffects*>(effect);
    for (int i = 0; i < list->GetCount(); ++i) n += CountEffects(list->GetEffect(i));
  }
  return n;
}

inline std::vector<std::uint8_t> StoreToMemory(const CEffectObj* effect) {
  CMemFile file;
  if (!StoreEffect(file, effect)) __builtin_trap();
  return file.bytes();
}

// Loads the input; answers whether it was an effect document.
inline bool LoadEffectInput(const std::uint8_t* data, std::size_t size) {
  for (const CRuntimeClass* effectClass : kEffectClasses)
    AfxClassInit(const_cast<CRuntimeClass*>(effectClass));
  ErrorMessageHandler previous = SetErrorMessageHandler([](const CString&) {});
  CMemFile file(std::vector<std::uint8_t>(data, data + size));
  CEffectObj* effect = LoadEffect(file);
  if (effect) {
    const std::vector<std::uint8_t> stored = StoreToMemory(effect);
    CMemFile again(stored);
    CEffectObj* back = LoadEffect(again);
    if (!back || StoreToMemory(back) != stored) __builtin_trap();
    delete back;
    if (CountEffects(effect) <= 8) {
      CPicture picture;
      picture.CreatePicture(9, 7, 0);
      for (int i = 0; i < picture.GetDataSize(); ++i)
        picture.GetBuffer()[i] = static_cast<BYTE>(i * 37);
      effect->SetPictures(&picture, nullptr, nullptr);
      effect->Execute();
      effect->Wait();
    }
    delete effect;
  }
  SetErrorMessageHandler(std::move(previous));
  return effect != nullptr;
}

}  // namespace vardell::fuzz_effects

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vardell::fuzz_effects::LoadEffectInput(data, size);
  return 0;
}
