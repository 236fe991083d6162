// cJSON_Parse: a SAX reader feeds a builder that links the items directly.
//
// The reader runs iteratively (no recursion on the C stack). Its scratch
// memory is one arena set up before parsing: the reader keeps two 32-bit
// words per open array or object plus the text of one string or number at a
// time, so len + 1 + 8 * (depth + 2) bytes always suffice and the reader
// never asks for more. The depth is bounded by the number of '[' and '{' in
// the text. Small arenas live on the C stack, larger ones in pages of their
// own: a large request to the process allocator would make it consolidate
// the small blocks that the items are carved from, on every parse.
#include <locale.h>
#include <stdlib.h>
#include <sys/mman.h>

#include <cmath>
#include <cstring>

#include "json/cjson_internal.h"

#define RAPIDJSON_NEW(x) nullptr  // the reader always gets our allocator
#define RAPIDJSON_DELETE(x) ((void)(x))
#include <rapidjson/error/error.h>
#include <rapidjson/reader.h>

namespace aputil::json {
namespace {

class ArenaAllocator {
 public:
  [[maybe_unused]] static constexpr bool kNeedFree = false;  // part of the allocator concept
  ArenaAllocator(char *base, size_t size) : base_(base), size_(size) {}
  void *Malloc(size_t size) { return Grant(size); }
  void *Realloc(void *, size_t, size_t size) { return Grant(size); }
  static void Free(void *) {}

 private:
  void *Grant(size_t size) {
    if (size > size_) std::abort();  // unreachable: the arena bounds the reader's use
    return base_;
  }
  char *base_;
  size_t size_;
};

// The common short numbers without strtod: at most 15 significant digits
// (exact in a double) scaled by at most 10^22 (also exact), so the one
// multiplication or division rounds correctly, as strtod would. The text is
// a JSON number the reader has already checked. Returns false to leave the
// rest to strtod.
bool exact_short_number(const char *s, size_t len, double *out) {
  static constexpr double kPow10[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                      1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const char *p = s, *end = s + len;
  const bool negative = *p == '-';
  if (negative) ++p;
  uint64_t mantissa = 0;
  int digits = 0, scale = 0;
  for (; p < end && *p >= '0' && *p <= '9'; ++p) {
    if (mantissa == 0 && *p == '0') continue;  // leading zeros carry nothing
    if (++digits > 15) return false;
    mantissa = mantissa * 10 + static_cast<uint64_t>(*p - '0');
  }
  if (p < end && *p == '.') {
    for (++p; p < end && *p >= '0' && *p <= '9'; ++p) {
      --scale;
      if (mantissa == 0 && *p == '0') continue;
      if (++digits > 15) return false;
      mantissa = mantissa * 10 + static_cast<uint64_t>(*p - '0');
    }
  }
  if (p < end) {  // an exponent: 'e' or 'E', a sign, digits
    ++p;
    const bool minus = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    int e = 0;
    for (; p < end; ++p) {
      if (e > 1000) return false;
      e = e * 10 + (*p - '0');
    }
    scale += minus ? -e : e;
  }
  double d = static_cast<double>(mantissa);
  if (mantissa != 0) {
    if (scale < -22 || scale > 22) return false;
    d = scale < 0 ? d / kPow10[-scale] : d * kPow10[scale];
  }
  *out = negative ? -d : d;
  return true;
}

// Builds the tree while the reader walks the text. An open array or object
// is always the last item of its parent, so its next pointer is free to
// hold the parent until the container closes.
class TreeBuilder {
 public:
  ~TreeBuilder() {
    hook_free(pending_name_);
    for (cJSON *c = open_; c;) {
      cJSON *parent = c->next;
      c->next = nullptr;
      c = parent;
    }
    cJSON_Delete(root_);
  }

  cJSON *Release() {
    cJSON *root = root_;
    root_ = nullptr;
    return root;
  }

  bool Null() { return Add(new_item(), cJSON_NULL); }
  bool Bool(bool b) {
    cJSON *item = new_item();
    if (item) item->valueint = b ? 1 : 0;
    return Add(item, b ? cJSON_True : cJSON_False);
  }
  // Numbers arrive as validated, NUL-terminated text and are converted
  // here, correctly rounded and whatever the process's locale. A value too
  // large for a double is refused; one too small becomes 0.
  bool RawNumber(const char *s, rapidjson::SizeType len, bool) {
    double fast;
    if (exact_short_number(s, len, &fast)) return Number(fast);
    static const locale_t c_locale = newlocale(LC_NUMERIC_MASK, "C", static_cast<locale_t>(nullptr));
    char *end = nullptr;
    const double d = c_locale ? strtod_l(s, &end, c_locale) : strtod(s, &end);
    if (end != s + len || std::isinf(d)) return false;
    return Number(d);
  }
  // Not called: numbers come through RawNumber.
  bool Int(int) { return false; }
  bool Uint(unsigned) { return false; }
  bool Int64(int64_t) { return false; }
  bool Uint64(uint64_t) { return false; }
  bool Double(double) { return false; }

  bool String(const char *s, rapidjson::SizeType len, bool) {
    cJSON *item = new_item();
    if (item && !(item->valuestring = dup_bytes(s, len))) {
      hook_free(item);
      item = nullptr;
    }
    return Add(item, cJSON_String);
  }

  bool Key(const char *s, rapidjson::SizeType len, bool) {
    pending_name_ = dup_bytes(s, len);
    return pending_name_ != nullptr;
  }

  bool StartObject() { return Open(cJSON_Object); }
  bool StartArray() { return Open(cJSON_Array); }
  bool EndObject(rapidjson::SizeType) { return Close(); }
  bool EndArray(rapidjson::SizeType) { return Close(); }

 private:
  bool Number(double d) {
    cJSON *item = new_item();
    if (item) {
      item->valuedouble = d;
      item->valueint = to_int(d);
    }
    return Add(item, cJSON_Number);
  }

  bool Add(cJSON *item, int type) {
    if (!item) return false;
    item->type = type;
    item->string = pending_name_;
    pending_name_ = nullptr;
    if (!open_)
      root_ = item;
    else
      link_after(open_, last_, item);
    last_ = item;
    return true;
  }

  bool Open(int type) {
    if (depth_ >= CJSON_NESTING_LIMIT || !Add(new_item(), type)) return false;
    ++depth_;
    last_->next = open_;
    open_ = last_;
    last_ = nullptr;
    return true;
  }

  bool Close() {
    cJSON *closed = open_;
    open_ = closed->next;
    closed->next = nullptr;
    last_ = closed;
    --depth_;
    return true;
  }

  cJSON *root_ = nullptr;
  cJSON *open_ = nullptr;  // innermost open array or object
  cJSON *last_ = nullptr;  // last item linked into open_
  char *pending_name_ = nullptr;
  unsigned depth_ = 0;
};

constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseStopWhenDoneFlag |
                            rapidjson::kParseNumbersAsStringsFlag;

}  // namespace
}  // namespace aputil::json

using namespace aputil::json;

namespace {

// The number of '[' and '{' in the text: a bound on the nesting depth.
// Counted in runs of 255 bytes into a byte-wide counter, which the compiler
// turns into whole-vector compares and adds.
size_t count_openers(const char *s, size_t len) {
  size_t n = 0;
  for (size_t i = 0; i < len;) {
    const size_t end = len - i > 255 ? i + 255 : len;
    uint8_t run = 0;
    for (; i < end; ++i) run = static_cast<uint8_t>(run + ((s[i] | 0x20) == '{'));  // '[' | 0x20 == '{'
    n += run;
  }
  return n;
}

constexpr size_t kStackArena = 4096;

}  // namespace

extern "C" APUTIL_API cJSON *cJSON_Parse(const char *value) {
  set_error_ptr(nullptr);
  if (!value) return nullptr;
  const size_t len = std::strlen(value);
  if (len > SIZE_MAX / 2) return nullptr;
  const size_t openers = count_openers(value, len);
  const size_t depth = openers < CJSON_NESTING_LIMIT ? openers : CJSON_NESTING_LIMIT;
  const size_t arena_size = len + 1 + 8 * (depth + 2);

  alignas(16) char local[kStackArena];
  char *arena = local;
  bool mapped = false;
  if (arena_size > sizeof local) {
    void *pages = mmap(nullptr, arena_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    mapped = pages != MAP_FAILED;
    arena = mapped ? static_cast<char *>(pages) : static_cast<char *>(hook_malloc(arena_size));
    if (!arena) {
      set_error_ptr(value);
      return nullptr;
    }
  }

  cJSON *root = nullptr;
  {
    ArenaAllocator allocator(arena, arena_size);
    rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, ArenaAllocator> reader(&allocator,
                                                                                          arena_size);
    rapidjson::StringStream in(value);
    TreeBuilder builder;
    rapidjson::ParseResult result = reader.Parse<kFlags>(in, builder);
    if (result)
      root = builder.Release();
    else
      set_error_ptr(value + result.Offset());
  }
  if (mapped)
    munmap(arena, arena_size);
  else if (arena != local)
    hook_free(arena);
  return root;
}
