// Sequences of JSON tree edits (create, add, detach, delete, replace and
// duplicate, by index and by name, with negative and out-of-range indexes),
// checked after every step for consistent links and the early interface's
// index rules; then print and parse back. Where the early and later
// printers agree (whole numbers in the int range, no empty object in
// formatted text) the prints are compared with the system cJSON, run as a
// separate process (CJSON_ORACLE) since the two libraries' names clash.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <rapidjson/document.h>

#include "cJSON.h"
#include "fuzz_args.h"

namespace {

// --- the oracle process ---

struct Oracle {
  int to = -1, from = -1;
  bool ok = false;
  Oracle() {
#ifdef CJSON_ORACLE
    int in[2], out[2];
    if (pipe(in) || pipe(out)) return;
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_adddup2(&fa, in[0], 0);
    posix_spawn_file_actions_adddup2(&fa, out[1], 1);
    posix_spawn_file_actions_addclose(&fa, in[1]);
    posix_spawn_file_actions_addclose(&fa, out[0]);
    char path[] = CJSON_ORACLE;
    char *argv[] = {path, nullptr};
    pid_t pid;
    ok = posix_spawn(&pid, path, &fa, nullptr, argv, environ) == 0;
    FUZZ_CHECK(ok);  // built with the oracle: it must run
    posix_spawn_file_actions_destroy(&fa);
    close(in[0]);
    close(out[1]);
    to = in[1];
    from = out[0];
#endif
  }
  // libFuzzer's -timeout alarm interrupts reads and writes: they go on.
  bool read_all(void *p, size_t n) {
    for (auto *c = static_cast<char *>(p); n;) {
      const ssize_t got = read(from, c, n);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return false;
      c += got;
      n -= static_cast<size_t>(got);
    }
    return true;
  }
  bool write_all(const void *p, size_t n) {
    for (const auto *c = static_cast<const char *>(p); n;) {
      const ssize_t put = write(to, c, n);
      if (put < 0 && errno == EINTR) continue;
      if (put <= 0) return false;
      c += put;
      n -= static_cast<size_t>(put);
    }
    return true;
  }
  bool read_text(std::string *s) {
    uint32_t n;
    if (!read_all(&n, 4)) return false;
    s->resize(n);
    return read_all(s->data(), n);
  }
  // Parse text in the system cJSON: false when it does not parse (or does
  // not print).
  bool ask(const std::string &text, std::string *flat, std::string *pretty) {
    const uint32_t n = static_cast<uint32_t>(text.size());
    FUZZ_CHECK(write_all(&n, 4) && write_all(text.data(), n));
    char status = 0;
    FUZZ_CHECK(read_all(&status, 1));
    if (status != 1) return false;
    FUZZ_CHECK(read_text(flat) && read_text(pretty));
    return true;
  }
};

// --- checks ---

std::string print(cJSON *item, bool formatted) {
  char *text = formatted ? cJSON_Print(item) : cJSON_PrintUnformatted(item);
  FUZZ_CHECK(text != nullptr);
  std::string s = text;
  free(text);
  return s;
}

void check_links(cJSON *c) {
  int n = 0;
  cJSON *prev = nullptr;
  for (cJSON *e = c->child; e; prev = e, e = e->next, ++n) {
    FUZZ_CHECK(e->prev == prev);
    if ((c->type & 255) == cJSON_Object) FUZZ_CHECK(e->string != nullptr);
    check_links(e);
  }
  FUZZ_CHECK(cJSON_GetArraySize(c) == n);
  if ((c->type & 255) == cJSON_Array || (c->type & 255) == cJSON_Object) {
    FUZZ_CHECK(cJSON_GetArrayItem(c, -1) == c->child);  // a negative index is the first item
    FUZZ_CHECK(cJSON_GetArrayItem(c, n) == nullptr);
    if (n) FUZZ_CHECK(cJSON_GetArrayItem(c, n - 1) == prev);
  }
}

// What both printers render alike: whole numbers in the int range (not
// negative zero, which the early printer writes as 0); and, for formatted
// text, no empty object.
bool comparable(const cJSON *c, bool formatted) {
  for (; c; c = c->next) {
    const int type = c->type & 255;
    if (type == cJSON_Number && !(std::fabs(c->valuedouble) <= 2147483647.0 && c->valuedouble == std::floor(c->valuedouble)))
      return false;
    if (type == cJSON_Number && c->valuedouble == 0 && std::signbit(c->valuedouble)) return false;  // later: "-0"
    if (formatted && type == cJSON_Object && !c->child) return false;
    if (!comparable(c->child, formatted)) return false;
  }
  return true;
}

// Numbers that print exactly (whole, below 2^53): only then does a tree
// parse back to the same values and print to the same text.
bool exact(const cJSON *c) {
  for (; c; c = c->next) {
    if ((c->type & 255) == cJSON_Number &&
        !(std::fabs(c->valuedouble) < 9007199254740992.0 && c->valuedouble == std::floor(c->valuedouble)))
      return false;
    if (!exact(c->child)) return false;
  }
  return true;
}

// Two trees alike: types, names, numbers (bit for bit) and strings.
// Names count only for members (an array element may keep an old name).
bool same(const cJSON *a, const cJSON *b, bool members = false) {
  for (; a && b; a = a->next, b = b->next) {
    if ((a->type & 255) != (b->type & 255)) return false;
    if (members && (!a->string || !b->string || std::strcmp(a->string, b->string))) return false;
    if ((a->type & 255) == cJSON_Number && std::memcmp(&a->valuedouble, &b->valuedouble, sizeof(double)) != 0 &&
        !(a->valuedouble == 0 && b->valuedouble == 0))
      return false;
    if ((a->type & 255) == cJSON_String && std::strcmp(a->valuestring, b->valuestring)) return false;
    if (!same(a->child, b->child, (a->type & 255) == cJSON_Object)) return false;
  }
  return !a && !b;
}

// Items in a tree (the item, its children and theirs).
size_t items(const cJSON *c) {
  size_t n = 1;
  for (const cJSON *e = c->child; e; e = e->next) n += items(e);
  return n;
}

// The children of a container, in order.
std::vector<cJSON *> children(const cJSON *c) {
  std::vector<cJSON *> v;
  for (cJSON *e = c->child; e; e = e->next) v.push_back(e);
  return v;
}

// Where the early interface's index lands: negative means 0; past the end
// means nowhere (-1).
long landing(const std::vector<cJSON *> &v, int index) {
  const long i = index < 0 ? 0 : index;
  return i < static_cast<long>(v.size()) ? i : -1;
}

// Index of the first member named name (ASCII case), or -1.
long first_named(const std::vector<cJSON *> &v, const char *name) {
  for (size_t i = 0; i < v.size(); ++i)
    if (v[i]->string && strcasecmp(v[i]->string, name) == 0) return static_cast<long>(i);
  return -1;
}

// --- building ---

std::string any_string(FuzzedDataProvider &in) {
  static const char *const pieces[] = {"a", "LanPort", "lanport", " ", "\"", "\\", "/", "\b", "\f", "\n", "\r", "\t",
                                       "\x01", "\x1f", "\x7f", "\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80", "0", "{"};
  std::string s;
  for (int n = in.ConsumeIntegralInRange(0, 6); n > 0; --n) s += in.PickValueInArray(pieces);
  return s;
}

cJSON *any_item(FuzzedDataProvider &in) {
  switch (in.ConsumeIntegralInRange(0, 7)) {
    case 0: return cJSON_CreateNull();
    case 1: return cJSON_CreateBool(in.ConsumeIntegral<int>());
    case 2: return cJSON_CreateNumber(in.ConsumeIntegralInRange(-100000, 100000));
    case 3: return cJSON_CreateNumber(in.ConsumeFloatingPoint<double>());
    case 4: return cJSON_CreateString(any_string(in).c_str());
    case 5: return cJSON_CreateArray();
    case 6: return cJSON_CreateObject();
    default: {
      const int nums[] = {1, -2, 300, 0};
      return cJSON_CreateIntArray(nums, in.ConsumeIntegralInRange(-1, 4));
    }
  }
}

// A container of the tree (the root or one below it), found by a walk.
cJSON *any_container(FuzzedDataProvider &in, cJSON *root) {
  cJSON *c = root;
  for (int depth = in.ConsumeIntegralInRange(0, 4); depth > 0; --depth) {
    cJSON *next = cJSON_GetArrayItem(c, in.ConsumeIntegralInRange(0, 5));
    if (!next || ((next->type & 255) != cJSON_Array && (next->type & 255) != cJSON_Object)) break;
    c = next;
  }
  return c;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static Oracle oracle;
  FuzzedDataProvider in(data, size);
  if (in.ConsumeIntegralInRange(0, 3) == 0) {
    // Any text. Where it is strict JSON (one value, valid UTF-8), both
    // parsers must accept it and see the same tree; beyond that their
    // leniencies differ (trailing text, "09"), and ours must only not fail.
    const std::string raw = in.ConsumeRemainingBytesAsString();
    cJSON *ours = cJSON_Parse(raw.c_str());
    rapidjson::Document strict;
    // (RapidJSON's validation reads up to 3 bytes past a cut sequence: the
    // copy has room for that.)
    std::string padded = raw.c_str();
    padded.append(4, '\0');
    strict.Parse<rapidjson::kParseValidateEncodingFlag>(padded.c_str());
    std::string their_flat, their_pretty;
    if (!strict.HasParseError() && strict.GetAllocator().Size() < (1u << 20)) {
      FUZZ_CHECK(ours != nullptr);
      if (oracle.ok && comparable(ours, false)) {
        FUZZ_CHECK(oracle.ask(raw.c_str(), &their_flat, &their_pretty));
        FUZZ_CHECK(print(ours, false) == their_flat);
      }
    }
    if (ours) {  // and ours prints what it parses back to the same tree
      if (exact(ours)) {
        cJSON *again = cJSON_Parse(print(ours, false).c_str());
        FUZZ_CHECK(again && same(ours, again));
        cJSON_Delete(again);
      }
      cJSON_Delete(ours);
    }
    return 0;
  }
  cJSON *root = in.ConsumeBool() ? cJSON_CreateArray() : cJSON_CreateObject();
  std::vector<cJSON *> loose;  // items that belong to no tree
  static const char *const names[] = {"a", "A", "lanport", "LANPORT", "b", ""};
  int steps = 0;
  while (in.remaining_bytes() && ++steps < 200) {
    cJSON *c = any_container(in, root);
    const bool is_object = (c->type & 255) == cJSON_Object;
    const int index = fuzz::any_int(in);
    const char *name = in.PickValueInArray(names);
    const size_t which = loose.empty() ? 0 : in.ConsumeIntegralInRange<size_t>(0, loose.size() - 1);
    switch (in.ConsumeIntegralInRange(0, 9)) {
      case 0: loose.push_back(any_item(in)); break;
      case 1:  // add a loose item
        if (loose.empty()) break;
        if (is_object)
          cJSON_AddItemToObject(c, name, loose[which]);
        else
          cJSON_AddItemToArray(c, loose[which]);
        loose.erase(loose.begin() + static_cast<long>(which));
        break;
      case 2: {  // detach by index: a negative index is the first item
        cJSON *want = cJSON_GetArrayItem(c, index);
        cJSON *got = cJSON_DetachItemFromArray(c, index);
        FUZZ_CHECK(got == want);
        if (got) {
          FUZZ_CHECK(!got->next && !got->prev);
          loose.push_back(got);
        }
        break;
      }
      case 3: {
        std::vector<cJSON *> want = children(c);
        const long at = landing(want, index);
        if (at >= 0) want.erase(want.begin() + at);
        cJSON_DeleteItemFromArray(c, index);
        FUZZ_CHECK(children(c) == want);
        break;
      }
      case 4: {  // replace by index; without such an item the new one stays ours
        if (loose.empty()) break;
        cJSON *old = cJSON_GetArrayItem(c, index);
        if (old && is_object && !loose[which]->string) break;  // a member needs a name
        std::vector<cJSON *> want = children(c);
        const long at = landing(want, index);
        if (at >= 0) want[static_cast<size_t>(at)] = loose[which];
        cJSON_ReplaceItemInArray(c, index, loose[which]);
        FUZZ_CHECK(children(c) == want);
        if (old) loose.erase(loose.begin() + static_cast<long>(which));
        break;
      }
      case 5: {
        cJSON *want = cJSON_GetObjectItem(c, name);
        cJSON *got = cJSON_DetachItemFromObject(c, name);
        FUZZ_CHECK(got == want);
        if (got) loose.push_back(got);
        break;
      }
      case 6: {
        std::vector<cJSON *> want = children(c);
        const long at = first_named(want, name);
        if (at >= 0) want.erase(want.begin() + at);
        cJSON_DeleteItemFromObject(c, name);
        FUZZ_CHECK(children(c) == want);
        break;
      }
      case 7: {
        if (loose.empty()) break;
        cJSON *old = cJSON_GetObjectItem(c, name);
        std::vector<cJSON *> want = children(c);
        const long at = first_named(want, name);
        if (at >= 0) want[static_cast<size_t>(at)] = loose[which];
        cJSON_ReplaceItemInObject(c, name, loose[which]);
        FUZZ_CHECK(children(c) == want);
        if (old) {
          FUZZ_CHECK(std::strcmp(loose[which]->string, name) == 0);  // it takes the name asked for
          loose.erase(loose.begin() + static_cast<long>(which));
        }
        break;
      }
      case 8: {  // duplicate a subtree (not a large one: duplicates of duplicates grow exponentially)
        const bool recurse = in.ConsumeBool();
        if (recurse && items(c) > 2000) break;
        cJSON *dup = cJSON_Duplicate(c, recurse);
        FUZZ_CHECK(dup != nullptr && (dup->type & 255) == (c->type & 255) && !dup->next && !dup->prev);
        if (recurse)
          FUZZ_CHECK(same(dup->child, c->child, is_object));
        else
          FUZZ_CHECK(dup->child == nullptr);
        loose.push_back(dup);
        break;
      }
      default: {  // look-up ignores ASCII case and finds the first member
        cJSON *got = cJSON_GetObjectItem(c, name);
        cJSON *first = nullptr;
        for (cJSON *e = c->child; e && !first; e = e->next)
          if (e->string && strcasecmp(e->string, name) == 0) first = e;
        FUZZ_CHECK(got == first);
        break;
      }
    }
    check_links(root);
  }

  // Print, parse back, print again: the same text and the same tree.
  const std::string flat = print(root, false), pretty = print(root, true);
  for (const std::string *text : {&flat, &pretty}) {
    if (!exact(root)) break;  // "%f" and "%e" keep six decimals
    cJSON *back = cJSON_Parse(text->c_str());
    FUZZ_CHECK(back != nullptr);
    FUZZ_CHECK(same(root, back));
    FUZZ_CHECK(print(back, false) == flat);
    cJSON_Delete(back);
  }
  if (oracle.ok) {
    std::string their_flat, their_pretty;
    FUZZ_CHECK(oracle.ask(flat, &their_flat, &their_pretty));
    if (comparable(root, false)) FUZZ_CHECK(their_flat == flat);
    if (comparable(root, true)) FUZZ_CHECK(their_pretty == pretty);
  }
  cJSON_Delete(root);
  for (cJSON *l : loose) cJSON_Delete(l);
  return 0;
}
