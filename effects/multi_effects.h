// CMultiEffects: a list of effects run in order, each on the result of the one before.
//
// Execute runs the list on the calling thread and returns after it; each child runs on a worker
// thread of its own and is waited for before the next one starts. Ahead of a child whose
// needs-before flag is set, the current picture is copied into a before-picture that the child
// gets as its second picture. With a valid own mask the children run on a duplicate of the
// target, which is then blended back into the target through the mask.
//
// The list owns its children: the destructor deletes them. A document stores the base part and
// then the list as a CObArray does (a count, then each child with its class).
//
// Loading is stricter than a CObArray on purpose, since the list owns what it holds: every child
// must be a new object of an effect class (or null, which running skips). A reference to an
// object already loaded (a shared child, or a cycle) is refused with badIndex, an object of
// another class with badClass, and lists nested more than kMaxNesting deep with
// genericException. A list that fails to load keeps its earlier children.
#pragma once

#include "effects/effect_object.h"
#include "platform/collections.h"

class VARDELL_API CMultiEffects : public CEffectObj {
  DECLARE_SERIAL(CMultiEffects)
 public:
  static constexpr int kMaxNesting = 64;

  CMultiEffects();
  ~CMultiEffects() override;
  void Serialize(CArchive& ar) override;
  // As CEffectObj::Execute, but the worker procedure runs on the calling thread; answers 1 after
  // it.
  BOOL Execute() override;

  // Appends an effect that the list then owns; answers its index.
  int AddEffect(CEffectObj* pEffect);
  int GetCount() const noexcept { return m_Effects.GetSize(); }
  CEffectObj* GetEffect(int index) const;
  // Deletes every child and empties the list.
  void RemoveAll();

  CObArray m_Effects;  // of CEffectObj*, owned

 private:
  static UINT Worker(LPVOID param);
  void LoadEffects(CArchive& ar);
};
