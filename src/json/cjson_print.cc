// cJSON_Print / cJSON_PrintUnformatted.
//
// One walker runs twice over the tree: first into a counter to learn the
// exact length, then into the single buffer taken from the malloc hook.
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "json/cjson_internal.h"

namespace aputil::json {
namespace {

struct Counter {
  size_t n = 0;
  void put(char) { ++n; }
  void put(const char *, size_t len) { n += len; }
  void repeat(char, int count) { n += count > 0 ? static_cast<size_t>(count) : 0; }
};

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

// Formats a number into buf (at least 352 bytes: "%.0f" of DBL_MAX has 309
// digits), returning its length.
size_t format_number(const cJSON *item, char *buf, size_t size) {
  const double d = item->valuedouble;
  auto digits = [&](auto v) { return static_cast<size_t>(std::to_chars(buf, buf + size, v).ptr - buf); };
  if (std::fabs(static_cast<double>(item->valueint) - d) <= DBL_EPSILON && d <= INT_MAX && d >= INT_MIN)
    return digits(item->valueint);  // as "%d"
  int n;
  if (std::fabs(std::floor(d) - d) <= DBL_EPSILON) {
    // Below 2^63 such a value is a whole number (or within DBL_EPSILON above
    // one, which "%.0f" rounds away as truncation does), so its integer
    // digits are exactly what "%.0f" prints.
    if (std::fabs(d) < 9.2e18) return digits(static_cast<long long>(d));
    n = std::snprintf(buf, size, "%.0f", d);
  } else if (std::fabs(d) < 1.0e-6 || std::fabs(d) > 1.0e9) {
    n = std::snprintf(buf, size, "%e", d);
  } else {
    n = std::snprintf(buf, size, "%f", d);
  }
  return n > 0 ? static_cast<size_t>(n) : 0;
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
          char u[8];
          std::snprintf(u, sizeof u, "\\u%04x", c);
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
    if (!print_value(c, depth, fmt, out)) return false;
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
    case cJSON_Number: {
      char buf[352];
      out.put(buf, format_number(item, buf, sizeof buf));
      return true;
    }
    case cJSON_String: print_string(item->valuestring, out); return true;
    case cJSON_Array: return print_array(item, depth, fmt, out);
    case cJSON_Object: return print_object(item, depth, fmt, out);
    default: return false;
  }
}

char *print(const cJSON *item, bool fmt) {
  if (!item) return nullptr;
  Counter count;
  if (!print_value(item, 0, fmt, count) || count.n == SIZE_MAX) return nullptr;
  char *text = static_cast<char *>(hook_malloc(count.n + 1));
  if (!text) return nullptr;
  Writer write{text};
  print_value(item, 0, fmt, write);
  *write.p = '\0';
  return text;
}

}  // namespace
}  // namespace aputil::json

extern "C" APUTIL_API char *cJSON_Print(cJSON *item) { return aputil::json::print(item, true); }

extern "C" APUTIL_API char *cJSON_PrintUnformatted(cJSON *item) { return aputil::json::print(item, false); }
