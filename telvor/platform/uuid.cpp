#include "telvor/platform/uuid.hpp"

#include <sys/mman.h>
#include <sys/random.h>

#include <cerrno>
#include <cstring>
#include <system_error>

#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"

namespace telvor {
namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// Each byte's value as a hexadecimal digit, or -1.
constexpr std::array<std::int8_t, 256> kHexValue = [] {
  std::array<std::int8_t, 256> table{};
  for (auto& v : table) v = -1;
  for (int c = 0; c < 10; ++c) table['0' + c] = static_cast<std::int8_t>(c);
  for (int c = 0; c < 6; ++c) {
    table['a' + c] = static_cast<std::int8_t>(10 + c);
    table['A' + c] = static_cast<std::int8_t>(10 + c);
  }
  return table;
}();

// Where the two digits of each byte stand in the canonical text (8-4-4-4-12).
constexpr std::array<std::uint8_t, 16> kBytePositions = {0,  2,  4,  6,  9,  11, 14, 16,
                                                         19, 21, 24, 26, 28, 30, 32, 34};

// The canonical text in a fixed buffer, so that coding a UUID allocates nothing.
using CanonicalText = std::array<char, 36>;

CanonicalText canonicalText(const UUID::Bytes& bytes) noexcept {
  CanonicalText text{};
  std::size_t out = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text[out++] = '-';
    text[out++] = kHexDigits[bytes[i] >> 4];
    text[out++] = kHexDigits[bytes[i] & 0x0F];
  }
  return text;
}

}  // namespace

namespace {

void fillRandom(std::uint8_t* out, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size) {
    const ssize_t n = getrandom(out + filled, size - filled, 0);
    if (n < 0) {
      if (errno == EINTR) continue;
      throw std::system_error(errno, std::generic_category(), "no source of random bytes for a UUID");
    }
    filled += static_cast<std::size_t>(n);
  }
}

// A thread's store of random bytes, so that reading thousands of nodes costs a system call
// per 255 identifiers rather than one each. The page is wiped on fork (MADV_WIPEONFORK),
// so a child never hands out its parent's bytes; where the kernel cannot do that, every
// identifier draws its own bytes. Bytes are cleared as they are handed out.
class RandomPool {
 public:
  RandomPool(const RandomPool&) = delete;
  RandomPool& operator=(const RandomPool&) = delete;
  RandomPool() {
#ifdef MADV_WIPEONFORK
    void* mapped = ::mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return;
    if (::madvise(mapped, sizeof(Page), MADV_WIPEONFORK) != 0) {
      ::munmap(mapped, sizeof(Page));
      return;
    }
    page_ = static_cast<Page*>(mapped);
#endif
  }
  ~RandomPool() {
    if (page_) ::munmap(page_, sizeof(Page));
  }

  void take(std::uint8_t* out, std::size_t size) {
    if (!page_ || size > sizeof page_->bytes) return fillRandom(out, size);
    if (page_->left < size) {
      fillRandom(page_->bytes, sizeof page_->bytes);
      page_->left = sizeof page_->bytes;
    }
    std::uint8_t* from = page_->bytes + (sizeof page_->bytes - page_->left);
    std::memcpy(out, from, size);
    std::memset(from, 0, size);
    page_->left -= size;
  }

 private:
  struct Page {
    std::size_t left;  // zero after a fork wiped the page
    std::uint8_t bytes[4096 - sizeof(std::size_t)];
  };
  Page* page_ = nullptr;
};

}  // namespace

UUID UUID::random() {
  thread_local RandomPool pool;
  Bytes bytes;
  pool.take(bytes.data(), bytes.size());
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
  return UUID(bytes);
}

std::optional<UUID> UUID::fromString(std::string_view text) noexcept {
  if (text.size() != 36 || text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') return std::nullopt;
  Bytes bytes{};
  int invalid = 0;  // negative once any digit is not hexadecimal
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const int high = kHexValue[static_cast<unsigned char>(text[kBytePositions[i]])];
    const int low = kHexValue[static_cast<unsigned char>(text[kBytePositions[i] + 1])];
    invalid |= high | low;
    bytes[i] = static_cast<std::uint8_t>((static_cast<unsigned>(high) << 4) | (static_cast<unsigned>(low) & 0x0Fu));
  }
  if (invalid < 0) return std::nullopt;
  return UUID(bytes);
}

std::string UUID::uuidString() const {
  const CanonicalText text = canonicalText(bytes_);
  return std::string(text.data(), text.size());
}

void UUID::encode(Encoder& encoder) const {
  const CanonicalText text = canonicalText(bytes_);
  encoder.singleValueContainer().encode(std::string_view(text.data(), text.size()));
}

UUID UUID::decode(const Decoder& decoder) {
  const auto text = decoder.singleValueContainer().decode<std::string_view>();
  if (auto uuid = fromString(text)) return *uuid;
  throw DecodingError::dataCorrupted(
      {decoder.codingPath(), "Attempted to decode UUID from invalid UUID string.", nullptr});
}

}  // namespace telvor
