// The regulatory database parser. Layout (big-endian): "RGDB", version,
// then from offset 8 the country list (alpha-2 code, 16-bit pointer to a
// collection) up to an all-zero entry. A collection is header length, rule
// count and DFS region, then at the header length rounded up to 2 a 16-bit
// pointer per rule. Pointers hold a byte offset divided by 4.
#include "aputil-info/regdb.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace aputil::info {
namespace {

constexpr uint32_t kMagic = 0x52474442, kVersion = 20;
constexpr size_t kListStart = 8, kMinCollectionLength = 3, kMinRuleLength = 16, kCacEnd = 18;
constexpr size_t kMaxFileSize = size_t{1} << 20;

uint16_t be16(const uint8_t *p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
uint32_t be32(const uint8_t *p) { return uint32_t{be16(p)} << 16 | be16(p + 2); }
size_t pointer_at(const uint8_t *p) { return size_t{be16(p)} << 2; }
bool upper(uint8_t c) { return c >= 'A' && c <= 'Z'; }
// Two upper-case letters, or "00": the world domain.
bool country_code(const uint8_t *p) { return (upper(p[0]) && upper(p[1])) || (p[0] == '0' && p[1] == '0'); }

[[gnu::format(printf, 2, 3)]] bool fail(std::string *error, const char *format, ...) {
  char line[256];
  va_list args;
  va_start(args, format);
  std::vsnprintf(line, sizeof line, format, args);
  va_end(args);
  if (error) *error = line;
  return false;
}

// The rules of the collection at byte offset at, into *country.
bool parse_collection(const uint8_t *data, size_t size, size_t at, RegCountry *country, std::string *error) {
  const char *cc = country->alpha2;
  if (at + kMinCollectionLength > size)
    return fail(error, "country '%s': collection pointer 0x%zx outside the %zu-byte file", cc, at, size);
  const size_t header = data[at], count = data[at + 1];
  country->dfs_region = data[at + 2];
  if (header < kMinCollectionLength)
    return fail(error, "country '%s': collection at 0x%zx has header length %zu (minimum %zu)", cc, at, header,
                kMinCollectionLength);
  const size_t pointers = at + (header + 1) / 2 * 2;
  if (pointers + 2 * count > size)
    return fail(error, "country '%s': %zu rule pointers at 0x%zx run past the end of the %zu-byte file", cc, count,
                pointers, size);
  country->rules.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    const size_t rule = pointer_at(data + pointers + 2 * i);
    if (rule >= size)
      return fail(error, "country '%s': rule pointer 0x%zx outside the %zu-byte file", cc, rule, size);
    const size_t length = data[rule];
    if (length < kMinRuleLength)
      return fail(error, "country '%s': rule at 0x%zx has length %zu (minimum %zu)", cc, rule, length, kMinRuleLength);
    if (rule + length > size)
      return fail(error, "country '%s': rule at 0x%zx (length %zu) runs past the end of the %zu-byte file", cc, rule,
                  length, size);
    const uint8_t *r = data + rule;
    RegRule parsed{be32(r + 4), be32(r + 8), be32(r + 12), be16(r + 2), r[1], 0};
    if (length >= kCacEnd) parsed.cac_ms = be16(r + 16);
    if (parsed.end_khz < parsed.start_khz)
      return fail(error, "country '%s': rule at 0x%zx ends at %u kHz, below its start %u kHz", cc, rule,
                  parsed.end_khz, parsed.start_khz);
    country->rules.push_back(parsed);
  }
  return true;
}

}  // namespace

const RegCountry *RegDb::find(const char *alpha2) const {
  if (!alpha2) return nullptr;
  for (const RegCountry &c : countries)
    if (std::strcmp(c.alpha2, alpha2) == 0) return &c;
  return nullptr;
}

bool parse_regdb(const uint8_t *data, size_t size, RegDb *db, std::string *error) {
  if (size < kListStart) return fail(error, "file of %zu bytes is shorter than the 8-byte header", size);
  if (be32(data) != kMagic) return fail(error, "bad magic 0x%08x at offset 0 (expected 0x%08x)", be32(data), kMagic);
  if (be32(data + 4) != kVersion)
    return fail(error, "unsupported version %u at offset 4 (expected %u)", be32(data + 4), kVersion);
  // The whole list first, so that a list without its end says so.
  bool seen[26 * 26 + 1] = {};  // the last for "00"
  size_t end = kListStart;
  for (; end + 4 <= size && be32(data + end) != 0; end += 4) {
    const uint8_t *e = data + end;
    if (!country_code(e))
      return fail(error, "country entry at 0x%zx: code 0x%02x%02x is not two upper-case letters (nor 00)", end, e[0],
                  e[1]);
    bool &listed = seen[e[0] == '0' ? 26 * 26 : (e[0] - 'A') * 26 + (e[1] - 'A')];
    if (listed) return fail(error, "country '%c%c' at 0x%zx is listed twice", e[0], e[1], end);
    listed = true;
  }
  if (end + 4 > size)
    return fail(error, "country list from 0x%zx has no terminator before the end of the %zu-byte file", kListStart,
                size);
  RegDb parsed;
  parsed.version = kVersion;
  parsed.countries.reserve((end - kListStart) / 4);
  for (size_t at = kListStart; at < end; at += 4) {
    RegCountry &country = parsed.countries.emplace_back();
    country.alpha2[0] = static_cast<char>(data[at]);
    country.alpha2[1] = static_cast<char>(data[at + 1]);
    country.alpha2[2] = '\0';
    if (!parse_collection(data, size, pointer_at(data + at + 2), &country, error)) return false;
  }
  *db = std::move(parsed);
  return true;
}

bool load_regdb(const std::string &path, RegDb *db, std::string *error) {
  const auto refuse = [&](const std::string &why) {
    if (error) *error = path + ": " + why;
    return false;
  };
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return refuse(std::strerror(errno));
  std::vector<uint8_t> bytes;
  ssize_t got;
  do {  // one byte past the limit tells a file that is too large
    const size_t had = bytes.size();
    bytes.resize(had + 65536);
    got = read(fd, bytes.data() + had, 65536);
    bytes.resize(had + (got > 0 ? static_cast<size_t>(got) : 0));
  } while ((got > 0 || (got < 0 && errno == EINTR)) && bytes.size() <= kMaxFileSize);
  const int read_errno = errno;
  close(fd);
  if (got < 0) return refuse(std::strerror(read_errno));
  if (bytes.size() > kMaxFileSize) return refuse("larger than 1 MiB");
  std::string why;
  return parse_regdb(bytes.data(), bytes.size(), db, &why) || refuse(why);
}

std::string rule_flag_names(uint8_t flags) {
  static const char *const kNames[] = {"NO-OFDM", "NO-OUTDOOR", "DFS", "NO-IR", "AUTO-BW"};
  std::string text;
  for (unsigned bit = 0; bit < 5; ++bit)
    if (flags & (1u << bit)) text += std::string(text.empty() ? "" : " ") + kNames[bit];
  if (const unsigned rest = flags & ~0x1fu) {
    char hex[8];
    std::snprintf(hex, sizeof hex, "0x%02x", rest);
    text += std::string(text.empty() ? "" : " ") + hex;
  }
  return text;
}

}  // namespace aputil::info
