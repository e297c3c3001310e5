// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/storage/blob_file.h>
#include <service/storage/blob_header.h>
#include <service/storage/failure.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace tfs::service::storage {
namespace {

constexpr std::string_view Magic = "TESLOBJ1";
constexpr std::size_t PartSize = 1u << 20;
constexpr std::uint32_t LargestHeader = 16u << 20; ///< a path and all attributes that a file can have
/// Behind each part's place and length; a length of 0 ends them.
struct PartHead {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

[[noreturn]] void ThrowDamaged(const char* how) {
    throw Failure(ulk::eInvalidState, std::string("the object in Storage is damaged: ") + how);
}

template <class T>
std::span<std::byte> BytesOf(T& value) noexcept {
    return std::as_writable_bytes(std::span(&value, 1));
}

void WriteAll(int file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throw Failure::OfErrno(errno, "Storage can't be written");
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
}

/// Encodes what is written behind the key, and keeps its digest.
class BlobWriter {
public:
    explicit BlobWriter(int blob) : m_blob(blob), m_key(BlobCode::MakeKey()), m_code(m_key) {
        WriteAll(m_blob, std::as_bytes(std::span(Magic)));
        WriteAll(m_blob, std::as_bytes(std::span(m_key)));
    }
    /// Encodes in place.
    void Write(std::span<std::byte> bytes) {
        m_digest.Add(bytes);
        m_code.Apply(bytes);
        WriteAll(m_blob, bytes);
    }
    Digest WriteDigest() {
        const Digest digest = m_digest.Take();
        Digest encoded = digest;
        m_code.Apply(std::as_writable_bytes(std::span(encoded)));
        WriteAll(m_blob, std::as_bytes(std::span(encoded)));
        return digest;
    }

private:
    const int m_blob;
    const BlobCode::Key m_key;
    BlobCode m_code;
    BlobDigest m_digest;
};

void WriteHeader(BlobWriter& writer, const BlobHeader& header) {
    std::vector<std::uint8_t> document = FormatHeader(header);
    auto length = static_cast<std::uint32_t>(document.size());
    if (document.size() > LargestHeader)
        throw Failure(ulk::eInvalidSize, "the file's attributes are too large");
    writer.Write(BytesOf(length));
    writer.Write(std::as_writable_bytes(std::span(document)));
    writer.WriteDigest();
}

/// The next stretch of bytes from `from` on; false where only a hole is left.
bool NextData(int source, std::uint64_t from, std::uint64_t size, std::uint64_t& begin, std::uint64_t& end) {
    if (from >= size)
        return false;
    const off_t data = ::lseek(source, static_cast<off_t>(from), SEEK_DATA);
    if (data < 0) {
        if (errno == ENXIO)
            return false;
        begin = from; // a file system that doesn't tell
        end = size;
        return true;
    }
    const off_t hole = ::lseek(source, data, SEEK_HOLE);
    begin = static_cast<std::uint64_t>(data);
    end = hole < 0 ? size : std::min(size, static_cast<std::uint64_t>(hole));
    return begin < size;
}

void WritePart(BlobWriter& writer, std::uint64_t offset, std::span<std::byte> bytes) {
    PartHead head{offset, bytes.size()};
    writer.Write(BytesOf(head));
    writer.Write(bytes);
}

} // namespace

Digest WriteBlob(int blob, const BlobHeader& header, int source, const std::function<bool()>& cancelled) {
    BlobWriter writer(blob);
    WriteHeader(writer, header);
    std::vector<std::byte> buffer(PartSize);
    const std::uint64_t size = header.identity.size;
    const off_t position = ::lseek(source, 0, SEEK_CUR);
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    for (std::uint64_t at = 0; NextData(source, at, size, begin, end); at = end)
        for (std::uint64_t offset = begin; offset < end;) {
            if (cancelled && cancelled())
                throw Failure(ulk::eCancelled, "cancelled");
            const std::uint64_t wanted = std::min<std::uint64_t>(PartSize, end - offset);
            const ssize_t got = ::pread(source, buffer.data(), wanted, static_cast<off_t>(offset));
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                throw Failure::OfErrno(errno, "the file can't be read");
            if (got == 0)
                throw Failure(ulk::eLocked, "the file became shorter");
            WritePart(writer, offset, std::span(buffer).first(static_cast<std::size_t>(got)));
            offset += static_cast<std::uint64_t>(got);
        }
    if (position >= 0)
        ::lseek(source, position, SEEK_SET);
    WritePart(writer, size, {});
    return writer.WriteDigest();
}

BlobReader::BlobReader(int blob)
    : m_blob(blob), m_code([this] {
          std::array<char, Magic.size()> magic{};
          BlobCode::Key key;
          Read(std::as_writable_bytes(std::span(magic)));
          Read(std::as_writable_bytes(std::span(key)));
          if (std::string_view(magic.data(), magic.size()) != Magic)
              ThrowDamaged("it isn't one of ours");
          return key;
      }()) {
    ReadHeader();
}

void BlobReader::Read(std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t got = ::pread(m_blob, bytes.data(), bytes.size(), static_cast<off_t>(m_position));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw Failure::OfErrno(errno, "Storage can't be read");
        if (got == 0)
            ThrowDamaged("its end is missing");
        m_position += static_cast<std::uint64_t>(got);
        bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
}

void BlobReader::Decode(std::span<std::byte> bytes) {
    Read(bytes);
    m_code.Apply(bytes);
    m_digest.Add(bytes);
}

void BlobReader::ReadHeader() {
    std::uint32_t length = 0;
    Decode(BytesOf(length));
    if (length > LargestHeader)
        ThrowDamaged("its description is too long");
    std::vector<std::uint8_t> document(length);
    Decode(std::as_writable_bytes(std::span(document)));
    const Digest computed = m_digest.Take();
    Digest written{};
    Decode(BytesOf(written));
    m_digest.Take();
    if (written != computed)
        ThrowDamaged("its description was changed");
    m_header = ParseHeader(document);
}

Digest BlobReader::ReadParts(const std::function<void(std::uint64_t offset, std::span<const std::byte> bytes)>& take) {
    std::vector<std::byte> buffer(PartSize);
    const std::uint64_t size = m_header.identity.size;
    std::uint64_t behind = 0;
    for (;;) {
        PartHead head;
        Decode(BytesOf(head));
        if (head.length > PartSize || head.offset < behind || head.offset > size || head.length > size - head.offset)
            ThrowDamaged("a part lies outside of the file");
        if (head.length == 0)
            break;
        const auto bytes = std::span(buffer).first(head.length);
        Decode(bytes);
        take(head.offset, bytes);
        behind = head.offset + head.length;
    }
    const Digest computed = m_digest.Take();
    Digest written{};
    Decode(BytesOf(written));
    if (written != computed)
        ThrowDamaged("its bytes were changed");
    char more = 0;
    if (::pread(m_blob, &more, 1, static_cast<off_t>(m_position)) != 0)
        ThrowDamaged("something stands behind its end");
    return computed;
}

} // namespace tfs::service::storage
