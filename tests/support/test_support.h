// Helpers shared by the test programs: scratch folders, whole-file reads and writes, a recorder
// of user-visible error texts, and a seeded generator that replays the same values everywhere.
#pragma once

#include "hostutil/messages.h"

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace vardell::test {

// A fresh folder under the system's temporary folder, removed with its contents at the end.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::filesystem::path& path() const { return m_path; }
  std::string File(const std::string& name) const { return (m_path / name).string(); }

 private:
  std::filesystem::path m_path;
};

std::vector<std::uint8_t> ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::vector<std::uint8_t>& bytes);
std::string SamplePath(const std::string& name);

// Records every ThrowErrorMessage text while alive, instead of printing it.
class ErrorRecorder {
 public:
  ErrorRecorder();
  ~ErrorRecorder();
  ErrorRecorder(const ErrorRecorder&) = delete;
  ErrorRecorder& operator=(const ErrorRecorder&) = delete;
  const std::vector<std::string>& texts() const { return m_texts; }
  // The only text recorded, or "" when there is none; fails the test when there are several.
  std::string Single() const;
  void Clear() { m_texts.clear(); }

 private:
  std::vector<std::string> m_texts;
  ErrorMessageHandler m_previous;
};

// Uniform values from a fixed-seed engine with our own range mapping (the standard
// distributions differ between library implementations).
class Rng {
 public:
  explicit Rng(std::uint32_t seed) : m_engine(seed) {}
  std::uint32_t Next() { return static_cast<std::uint32_t>(m_engine()); }
  // A value in [lo, hi], both inclusive.
  int Range(int lo, int hi) {
    return lo + static_cast<int>(Next() % static_cast<std::uint32_t>(hi - lo + 1));
  }
  // A byte biased towards the edge values 0 and 255.
  std::uint8_t Byte() {
    std::uint32_t v = Next();
    switch (v & 7) {
      case 0: return 0;
      case 1: return 255;
      default: return static_cast<std::uint8_t>(v >> 8);
    }
  }

 private:
  std::mt19937 m_engine;
};

}  // namespace vardell::test
