// SPDX-License-Identifier: Apache-2.0
#include "tools/bundle/tar_writer.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <numeric>

namespace korahamonctl {
namespace {

constexpr std::size_t blockBytes = 512;

// The fields of a header, where the format has them.
struct Header {
    std::array<char, 100> name;
    std::array<char, 8> mode;
    std::array<char, 8> user;
    std::array<char, 8> group;
    std::array<char, 12> size;
    std::array<char, 12> time;
    std::array<char, 8> checksum;
    char type;
    std::array<char, 100> link;
    std::array<char, 8> magic;  // and the version, without a zero between
    std::array<char, 247> unused;
};
static_assert(sizeof(Header) == blockBytes);

template <std::size_t N>
void putOctal(std::array<char, N>& field, unsigned long long number) {
    std::snprintf(field.data(), N, "%0*llo", static_cast<int>(N - 1), number);
}

Header headerFor(const std::string& name, std::size_t size, std::time_t now) {
    constexpr unsigned int ownerOnly = 0600;
    Header header{};
    name.copy(header.name.data(), header.name.size() - 1);
    putOctal(header.mode, ownerOnly);
    putOctal(header.user, 0);
    putOctal(header.group, 0);
    putOctal(header.size, size);
    putOctal(header.time, static_cast<unsigned long long>(now));
    header.type = '0';
    std::memcpy(header.magic.data(), "ustar\00000", header.magic.size());
    header.checksum.fill(' ');  // as which it is summed up
    const auto* bytes = reinterpret_cast<const unsigned char*>(&header);
    const unsigned int sum = std::accumulate(bytes, bytes + sizeof header, 0U);
    std::snprintf(header.checksum.data(), header.checksum.size(), "%06o", sum);
    return header;
}

}  // namespace

void TarWriter::write(std::string_view bytes) {
    while (!bytes.empty() && error_ == 0) {
        const ssize_t sent = ::write(fd_, bytes.data(), bytes.size());
        if (sent > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (sent == 0 || errno != EINTR) {
            error_ = sent == 0 ? ENOSPC : errno;
        }
    }
}

void TarWriter::fill(std::size_t written) {
    write(std::string((blockBytes - written % blockBytes) % blockBytes, '\0'));
}

void TarWriter::add(const std::string& name, std::string_view text) {
    if (name.size() >= sizeof(Header::name)) {
        return;
    }
    const Header header = headerFor(name, text.size(), now_);
    write({reinterpret_cast<const char*>(&header), sizeof header});
    write(text);
    fill(text.size());
}

int TarWriter::finish() {
    write(std::string(2 * blockBytes, '\0'));
    return error_;
}

}  // namespace korahamonctl
