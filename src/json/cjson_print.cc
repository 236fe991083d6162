// cJSON_Print / cJSON_PrintUnformatted.
//
// The walker writes the text into a 4 KiB buffer on the C stack while
// counting its length. A text that fits is copied into one block of the
// exact length from the malloc hook; a longer one is written by a second
// walk straight into such a block. Either way the caller's block is the
// only allocation.
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "json/cjson_internal.h"

namespace aputil::json {
namespace {

// Writes into buf while the text fits in it, and counts all of it.
struct BoundedWriter {
  char *buf;
  size_t cap;
  size_t n = 0;
  void put(char c) {
    if (n < cap) buf[n] = c;
    ++n;
  }
  void put(const char *s, size_t len) {
    if (n <= cap && len <= cap - n) std::memcpy(buf + n, s, len);
    n += len;
  }
  void repeat(char c, int count) {
    for (; count > 0; --count) put(c);
  }
};

// Writes into a block known to be large enough.
struct Writer {
  char *p;
  void put(char c) { *p++ = c; }
  void put(const char *s, size_t len) {
    std::memcpy(p, s, len);
    p += len;
  }
  void repeat(char c, int count) {
    for (; count > 0; --count) *p++ = c;
  }
};

using u128 = unsigned __int128;

// d = m * 2^e exactly (d finite, not zero).
void decompose(double d, uint64_t *m, int *e) {
  uint64_t bits;
  std::memcpy(&bits, &d, sizeof bits);
  const int biased = static_cast<int>((bits >> 52) & 0x7FF);
  const uint64_t frac = bits & ((uint64_t{1} << 52) - 1);
  *m = biased ? frac | (uint64_t{1} << 52) : frac;
  *e = biased ? biased - 1075 : -1074;
}

// n / 2^k rounded to nearest, ties to even (printf's rounding); 0 < k < 128.
u128 round_shift(u128 n, int k) {
  const u128 q = n >> k, r = n & ((u128{1} << k) - 1), half = u128{1} << (k - 1);
  return q + (r > half || (r == half && (q & 1)));
}

// v as exactly width digits, zero-padded on the left.
char *put_digits(char *p, uint64_t v, int width) {
  for (int i = width - 1; i >= 0; --i, v /= 10) p[i] = static_cast<char>('0' + v % 10);
  return p + width;
}

// "%f" of a non-whole d with 1e-6 <= |d| <= 1e9: |d| * 10^6 < 2^73 is
// rounded exactly in 128-bit integers.
char *put_fixed6(char *p, double d) {
  uint64_t m;
  int e;
  decompose(d, &m, &e);  // e < 0: d is not whole; e >= -73 for |d| >= 1e-6
  const uint64_t q = static_cast<uint64_t>(round_shift(u128{m} * 1000000, -e));
  if (d < 0) *p++ = '-';
  p = std::to_chars(p, p + 20, q / 1000000).ptr;
  *p++ = '.';
  return put_digits(p, q % 1000000, 6);
}

// "%e" of a non-whole d with 1e9 < |d| < 2^53: the seven significant digits
// are |d| / 10^(exp - 6) rounded exactly in 64-bit integers (no exact tie
// can arise: it would make d whole).
char *put_sci6(char *p, double d) {
  uint64_t m;
  int e;
  decompose(d, &m, &e);  // -23 <= e < 0 in this range
  const int k = -e;
  int exp10 = 0;
  for (uint64_t whole = m >> k; whole >= 10; whole /= 10) ++exp10;  // 9 to 15
  uint64_t scale = 1;
  for (int i = 6; i < exp10; ++i) scale *= 10;
  const uint64_t den = scale << k;  // below 2^53
  uint64_t q = m / den;
  const uint64_t r = m % den;
  q += (2 * r > den || (2 * r == den && (q & 1)));
  if (q == 10000000) q = 1000000, ++exp10;
  if (d < 0) *p++ = '-';
  *p++ = static_cast<char>('0' + q / 1000000);
  *p++ = '.';
  p = put_digits(p, q % 1000000, 6);
  *p++ = 'e';
  *p++ = '+';
  return put_digits(p, static_cast<uint64_t>(exp10), 2);
}

// floor(d), without the C library's libm (which -Os would call): values
// from 2^52 up are whole, and NaN and infinities pass through as floor
// passes them.
double floor_of(double d) {
  if (!(std::fabs(d) < 4503599627370496.0)) return d;
  const double t = static_cast<double>(static_cast<long long>(d));
  return t > d ? t - 1 : t;
}

// Formats a number into buf (at least 352 bytes: "%.0f" of DBL_MAX has 309
// digits), returning its length: the text of printf's "%d", "%.0f", "%e" or
// "%f" in the "C" locale. The common ranges are written directly (exactly
// as printf rounds); the rest (fractions below 1e-6 in magnitude, whole
// numbers from 2^63) go through snprintf.
size_t format_number(const cJSON *item, char *buf, size_t size) {
  const double d = item->valuedouble;
  const double a = std::fabs(d);
  char *const end = buf + size;
  int n;
  if (std::fabs(static_cast<double>(item->valueint) - d) <= DBL_EPSILON && d <= INT_MAX && d >= INT_MIN)
    return static_cast<size_t>(std::to_chars(buf, end, item->valueint).ptr - buf);  // "%d"
  if (const double whole = floor_of(d); std::fabs(whole - d) <= DBL_EPSILON) {
    // Below 2^63 such a value is a whole number, or within DBL_EPSILON above
    // one, which "%.0f" rounds down to it (-1.9999999999999998 prints -2),
    // so the integer digits of floor(d) are exactly what "%.0f" prints.
    if (a < 9.2e18) return static_cast<size_t>(std::to_chars(buf, end, static_cast<long long>(whole)).ptr - buf);
    n = std::snprintf(buf, size, "%.0f", d);
  } else if (a < 1.0e-6 || a > 1.0e9) {
    if (a > 1.0e9 && a < 9007199254740992.0) return static_cast<size_t>(put_sci6(buf, d) - buf);
    n = std::snprintf(buf, size, "%e", d);
  } else if (a == a) {
    return static_cast<size_t>(put_fixed6(buf, d) - buf);
  } else {
    n = std::snprintf(buf, size, "%f", d);  // NaN
  }
  return n > 0 ? static_cast<size_t>(n) : 0;
}

// Kept out of line so that its buffer is not part of every level of the
// recursion over nested arrays and objects.
template <class Sink>
[[gnu::noinline]] void print_number(const cJSON *item, Sink &out) {
  char buf[352];
  out.put(buf, format_number(item, buf, sizeof buf));
}

template <class Sink>
void print_string(const char *s, Sink &out) {
  out.put('"');
  if (s) {
    const char *run = s;  // start of the pending run of plain characters
    for (; *s; ++s) {
      const unsigned char c = static_cast<unsigned char>(*s);
      if (c > 31 && c != '"' && c != '\\') continue;
      out.put(run, static_cast<size_t>(s - run));
      run = s + 1;
      char esc;
      switch (c) {
        case '"': esc = '"'; break;
        case '\\': esc = '\\'; break;
        case '\b': esc = 'b'; break;
        case '\f': esc = 'f'; break;
        case '\n': esc = 'n'; break;
        case '\r': esc = 'r'; break;
        case '\t': esc = 't'; break;
        default: {
          static constexpr char kHex[] = "0123456789abcdef";
          const char u[6] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 15]};
          out.put(u, 6);
          continue;
        }
      }
      out.put('\\');
      out.put(esc);
    }
    out.put(run, static_cast<size_t>(s - run));
  }
  out.put('"');
}

template <class Sink>
bool print_value(const cJSON *item, int depth, bool fmt, Sink &out);

template <class Sink>
bool print_array(const cJSON *item, int depth, bool fmt, Sink &out) {
  out.put('[');
  for (const cJSON *c = item->child; c; c = c->next) {
    if (!print_value(c, depth + 1, fmt, out)) return false;  // elements one level deeper
    if (c->next) {
      out.put(',');
      if (fmt) out.put(' ');
    }
  }
  out.put(']');
  return true;
}

template <class Sink>
bool print_object(const cJSON *item, int depth, bool fmt, Sink &out) {
  out.put('{');
  if (!item->child) {
    if (fmt) {
      out.put('\n');
      out.repeat('\t', depth - 1);
    }
    out.put('}');
    return true;
  }
  ++depth;
  if (fmt) out.put('\n');
  for (const cJSON *c = item->child; c; c = c->next) {
    if (fmt) out.repeat('\t', depth);
    print_string(c->string, out);
    out.put(':');
    if (fmt) out.put('\t');
    if (!print_value(c, depth, fmt, out)) return false;
    if (c->next) out.put(',');
    if (fmt) out.put('\n');
  }
  if (fmt) out.repeat('\t', depth - 1);
  out.put('}');
  return true;
}

template <class Sink>
bool print_value(const cJSON *item, int depth, bool fmt, Sink &out) {
  switch (item->type & 255) {
    case cJSON_NULL: out.put("null", 4); return true;
    case cJSON_False: out.put("false", 5); return true;
    case cJSON_True: out.put("true", 4); return true;
    case cJSON_Number: print_number(item, out); return true;
    case cJSON_String: print_string(item->valuestring, out); return true;
    case cJSON_Array: return print_array(item, depth, fmt, out);
    case cJSON_Object: return print_object(item, depth, fmt, out);
    default: return false;
  }
}

char *print(const cJSON *item, bool fmt) {
  if (!item) return nullptr;
  alignas(16) char local[4096];
  BoundedWriter first{local, sizeof local};
  if (!print_value(item, 0, fmt, first) || first.n == SIZE_MAX) return nullptr;
  char *text = static_cast<char *>(hook_malloc(first.n + 1));
  if (!text) return nullptr;
  if (first.n <= sizeof local) {
    std::memcpy(text, local, first.n);
  } else {
    Writer again{text};
    print_value(item, 0, fmt, again);
  }
  text[first.n] = '\0';
  return text;
}

}  // namespace
}  // namespace aputil::json

extern "C" APUTIL_API char *cJSON_Print(cJSON *item) { return aputil::json::print(item, true); }

extern "C" APUTIL_API char *cJSON_PrintUnformatted(cJSON *item) { return aputil::json::print(item, false); }
