#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace zervane::storage {

// A new folder under the system's temporary one, removed with the object.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "zervane-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      std::perror(pattern.c_str());
      std::abort();
    }
    path_ = pattern;
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() { std::filesystem::remove_all(path_); }

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace zervane::storage
