// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace koraha::test {

/// A directory of its own for one test, gone with everything in it afterwards.
class ScratchDir {
  public:
    ScratchDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "koraha-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("no scratch directory");
        }
        path_ = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    std::string path(const std::string& name = {}) const {
        return name.empty() ? path_ : path_ + "/" + name;
    }

    /// Writes a file, with the directories above it, and returns its path.
    std::string write(const std::string& name, const std::string& text, mode_t mode = 0644) const {
        const std::filesystem::path file = path(name);
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
        ::chmod(file.c_str(), mode);
        return file.string();
    }

    std::string read(const std::string& name) const {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

  private:
    std::string path_;
};

}  // namespace koraha::test
