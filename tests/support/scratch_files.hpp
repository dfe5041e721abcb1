// Files for tests: whole-file reads and writes, and a scratch folder that goes away with
// everything in it.
//
//   ScratchDir dir;
//   spit(dir / "nodes.json", "[]");
//   EXPECT_EQ(slurp(dir / "nodes.json"), "[]");
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace telvor::testing_support {

// The file's bytes; empty when it cannot be read.
inline std::string slurp(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

// Replaces the file's bytes.
inline void spit(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// A fresh folder under the system's temporary folder, removed with everything in it at
// the end. Its path is empty when it could not be made.
class ScratchDir {
 public:
  ScratchDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "telvor-test-XXXXXX").string();
    if (::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~ScratchDir() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

}  // namespace telvor::testing_support
