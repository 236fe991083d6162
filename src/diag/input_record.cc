// The input record log: fixed-length slots in a ring file.
#include <cstdio>
#include <cstring>

#include "common/host_root.h"
#include "diag/diag_state.h"
#include "diag/timestamp.h"
#include "util_dbg.h"

namespace aputil::diag {
namespace {

constexpr uint32_t kMaxRecLen = 320;
constexpr size_t kMaxText = 318;

struct RecordState {
  char path[256];
  uint32_t file_size;
  uint32_t rec_len;
  uint32_t slot;
  uint32_t seq;
};

RecordState r;

}  // namespace

void reset_input_record_for_tests() { std::memset(&r, 0, sizeof r); }

}  // namespace aputil::diag

using aputil::diag::kMaxRecLen;
using aputil::diag::kMaxText;
using aputil::diag::r;

extern "C" {

APUTIL_API void util_inputRecord_init(const char *name, uint32_t fileSize, int32_t recLen) {
  std::memset(r.path, 0, sizeof r.path);
  if (!name || fileSize == 0 || recLen == 0) return;
  std::snprintf(r.path, sizeof r.path - 1, "/tmp/log/rec/%s", name);
  FILE *f = std::fopen(aputil::HostPath(r.path).c_str(), "w+");
  if (!f) return;
  std::fclose(f);
  r.file_size = fileSize;
  r.rec_len = (recLen >= 0 && recLen <= static_cast<int32_t>(kMaxRecLen)) ? static_cast<uint32_t>(recLen) : kMaxRecLen;
}

APUTIL_API void util_inputRecord_save(const void *data, uint32_t len, int32_t isText) {
  if (r.rec_len == 0 || r.file_size == 0) return;
  FILE *f = std::fopen(aputil::HostPath(r.path).c_str(), "r+");
  if (!f) {
    std::printf("[%s:%d]: open fileName = %s failed\r\n", "util_inputRecord_save", 398, r.path);
    return;
  }
  if (std::fseek(f, static_cast<long>(r.slot) * static_cast<long>(r.rec_len), SEEK_SET) != 0) {
    std::printf("[%s:%d]: fseek failed, recPos = %u\r\n", "util_inputRecord_save", 404, r.slot);
    std::fclose(f);
    return;
  }
  char buf[kMaxRecLen] = {0};
  const char *const time = aputil::diag::timestamp();
  if (isText) {
    std::snprintf(buf, kMaxText + 1, "[%u][%u][%s]%s", r.seq, len, time, data ? static_cast<const char *>(data) : "");
  } else {
    std::snprintf(buf, kMaxText + 1, "[%u][%u][%s]", r.seq, len, time);
    const size_t limit = r.rec_len - 1 < kMaxText ? r.rec_len - 1 : kMaxText;
    size_t text_len = std::strlen(buf);
    const auto *bytes = static_cast<const unsigned char *>(data);
    for (uint32_t i = 0; bytes && i < len && text_len + 2 <= limit; ++i, text_len += 2)
      std::snprintf(buf + text_len, 3, "%02X", bytes[i]);
  }
  buf[r.rec_len - 1] = '\n';
  std::fwrite(buf, 1, r.rec_len, f);
  std::fflush(f);
  ++r.seq;
  if (++r.slot >= r.file_size / r.rec_len) r.slot = 0;
  std::fclose(f);
}

}  // extern "C"
