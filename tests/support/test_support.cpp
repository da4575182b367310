#include "support/test_support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <unistd.h>

namespace vardell::test {

TempDir::TempDir() {
  static std::atomic<int> counter{0};
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string name = info ? std::string(info->test_suite_name()) + "." + info->name() : "vardell";
  for (char& c : name)
    if (c == '/') c = '_';
  m_path = std::filesystem::temp_directory_path() /
           ("vardell-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) + "-" + name);
  std::filesystem::create_directories(m_path);
}

TempDir::~TempDir() {
  std::error_code ec;
  std::filesystem::remove_all(m_path, ec);
}

std::vector<std::uint8_t> ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in), {});
}

void WriteBytes(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

std::string SamplePath(const std::string& name) {
  return std::string(VARDELL_SAMPLES_DIR) + "/" + name;
}

ErrorRecorder::ErrorRecorder() {
  m_previous =
      SetErrorMessageHandler([this](const CString& text) { m_texts.push_back(text.str()); });
}

ErrorRecorder::~ErrorRecorder() { SetErrorMessageHandler(std::move(m_previous)); }

std::string ErrorRecorder::Single() const {
  EXPECT_LE(m_texts.size(), 1u) << "more than one error text";
  return m_texts.empty() ? std::string() : m_texts.front();
}

}  // namespace vardell::test
