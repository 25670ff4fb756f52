// SPDX-License-Identifier: Apache-2.0
#include "fuzz/kernel_tree.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "fuzz/fuzz_input.h"
#include "hasupport/io/unique_fd.h"

namespace koraha::fuzz {
namespace {

std::string placeForTrees() {
    const char* const named = std::getenv("TMPDIR");
    return named != nullptr ? named : ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
}

}  // namespace

KernelTree::KernelTree() : root_(placeForTrees() + "/koraha-tree-XXXXXX") {
    require(::mkdtemp(root_.data()) != nullptr);
    std::filesystem::create_directories(root_ + "/proc");
    std::filesystem::create_directories(root_ + "/sys");
}

KernelTree::~KernelTree() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

void KernelTree::link(const std::string& name, const std::string& target) {
    const std::filesystem::path path = root_ + "/" + name;
    std::filesystem::create_directories(path.parent_path());
    std::filesystem::create_directories(path.parent_path() / target);
    std::filesystem::create_symlink(target, path);
}

void KernelTree::set(const std::string& name, std::string_view text) {
    const auto [known, isNew] = texts_.try_emplace(name);
    if (!isNew && known->second == text) {
        return;
    }
    known->second = text;
    const std::string path = root_ + "/" + name;
    if (isNew) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    }
    if (text.starts_with('!')) {
        ::unlink(path.c_str());
        return;
    }
    const KORA::HA::Daemon::support::UniqueFd fd(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    require(fd && ::write(fd.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()));
}

std::vector<std::string_view> pieces(std::string_view input, std::size_t count) {
    std::vector<std::string_view> out;
    while (out.size() < count) {
        const auto end = std::min(input.find('\0'), input.size());
        out.push_back(input.substr(0, end));
        input.remove_prefix(std::min(end + 1, input.size()));
    }
    return out;
}

}  // namespace koraha::fuzz
