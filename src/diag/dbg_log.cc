// The debug log: module registry, level filter, console lines, error ring.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "common/host_root.h"
#include "diag/diag_state.h"
#include "diag/timestamp.h"
#include "util_dbg.h"

namespace aputil::diag {
namespace {

constexpr int kModules = 10;

struct Module {
  char name[32];
  uint8_t enable;
};

struct DbgState {
  int32_t level = UTIL_DBG_LEVEL_ERROR;
  uint32_t all_modules = 0;
  Module registry[kModules] = {};
  char path[256] = "";
  uint32_t size_limit = 0;
  uint32_t write_pos = 0;
  uint32_t records = 0;
};

DbgState g;

bool is_prefix(const char *stored, const char *name) { return std::strncmp(stored, name, std::strlen(stored)) == 0; }

// The first occupied entry whose name begins name, or nullptr.
Module *find(const char *name) {
  for (Module &m : g.registry)
    if (m.name[0] && is_prefix(m.name, name)) return &m;
  return nullptr;
}

void save_to_file(const char *funcName, int line, const char *msg) {
  if (g.size_limit == 0) return;
  FILE *f = std::fopen(HostPath(g.path).c_str(), "r+");
  if (!f) {
    std::printf("[%s:%d]: open fileName = %s failed\r\n", "util_dbg_saveToFile", 109, g.path);
    return;
  }
  if (std::fseek(f, static_cast<long>(g.write_pos), SEEK_SET) != 0) {
    std::printf("[%s:%d]: fseek failed, count = %u\r\n", "util_dbg_saveToFile", 115, g.records);
    std::fclose(f);
    return;
  }
  char record[256];
  const int n = std::snprintf(record, sizeof record, "[Error][%s][%s] %04d:%s", timestamp(), funcName, line, msg);
  const size_t len = n < 0 ? 0 : (static_cast<size_t>(n) < sizeof record ? static_cast<size_t>(n) : sizeof record - 1);
  std::fwrite(record, 1, len, f);
  std::fflush(f);
  g.write_pos = static_cast<uint32_t>(std::ftell(f));
  ++g.records;
  if (g.records >= (g.size_limit >> 8) || g.write_pos >= g.size_limit) g.write_pos = g.records = 0;
  std::fclose(f);
}

}  // namespace

void reset_dbg_for_tests() { g = DbgState{}; }

}  // namespace aputil::diag

using aputil::diag::g;

extern "C" {

APUTIL_API void util_dbg_init(const char *name, uint32_t size) {
  std::memset(g.registry, 0, sizeof g.registry);
  std::memset(g.path, 0, sizeof g.path);
  if (!name || size == 0) return;
  std::snprintf(g.path, sizeof g.path - 1, "/tmp/log/error/%s", name);
  FILE *f = std::fopen(aputil::HostPath(g.path).c_str(), "w+");
  if (!f) return;
  std::fclose(f);
  g.size_limit = size;
}

APUTIL_API int util_dbg_setLevel(int level) {
  if (level < UTIL_DBG_LEVEL_ERROR || level > UTIL_DBG_LEVEL_DEBUG) return -1;
  g.level = level;
  return 0;
}

APUTIL_API int util_dbg_setMod(const char *pModName, int enable) {
  if (!pModName) {
    std::puts("Module name is null");
    return -1;
  }
  std::printf("Into util_dbg_setMod, pModName(%s), enable(%d)\n", pModName, enable);
  if (std::strcmp(pModName, "all") == 0 || std::strcmp(pModName, "ALL") == 0) {
    g.all_modules = enable ? 1 : 0;
    return 0;
  }
  aputil::diag::Module *match = aputil::diag::find(pModName);
  if (!match && enable) {
    bool free_entry = false;
    for (const auto &m : g.registry) free_entry = free_entry || !m.name[0];
    if (free_entry) match = &g.registry[0];  // a new name always replaces entry 0, on purpose
  }
  if (!match) {
    std::printf(enable ? "register module(%s) failed\n" : "unregister module(%s) failed\n", pModName);
    return -1;
  }
  if (enable) {
    std::snprintf(match->name, sizeof match->name, "%s", pModName);
    match->enable = 1;
    std::printf("register module(%s) success\n", pModName);
  } else {
    match->name[0] = '\0';
    match->enable = 0;
    std::printf("unregister module(%s) success\n", pModName);
  }
  return 0;
}

APUTIL_API void util_dbg_printf(const char *pModName, int level, const char *funcName, int line, const char *format,
                                ...) {
  char msg[512] = {0};
  if (static_cast<uint32_t>(level) > static_cast<uint32_t>(g.level) || !pModName || !funcName || !format) return;
  if (level != UTIL_DBG_LEVEL_ERROR && !g.all_modules) {
    const aputil::diag::Module *m = aputil::diag::find(pModName);
    if (!m || !m->enable) return;
  }
  va_list ap;
  va_start(ap, format);
  std::vsnprintf(msg, sizeof msg - 1, format, ap);
  va_end(ap);
  switch (level) {
    case UTIL_DBG_LEVEL_ERROR:
      std::printf("\033[0;31m[Error][%s] %03d: %s\n\033[0m", funcName, line, msg);
      aputil::diag::save_to_file(funcName, line, msg);
      break;
    case UTIL_DBG_LEVEL_NOTICE:
      std::printf("\033[0;33m[Notice][%s] %03d: %s\n\033[0m", funcName, line, msg);
      break;
    case UTIL_DBG_LEVEL_DEBUG:
      std::printf("[Debug][%s] %03d: %s\n", funcName, line, msg);
      break;
    default:
      break;
  }
}

}  // extern "C"
