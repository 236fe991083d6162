// Replays fuzz inputs through a target without libFuzzer, so that the
// ordinary test suite (any compiler, sanitizers, qemu) runs every target's
// seed corpus and every past finding. Arguments: files or directories.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

int replay(const std::string &path) {
  FILE *f = std::fopen(path.c_str(), "rb");
  if (!f) {
    std::fprintf(stderr, "replay: cannot open %s\n", path.c_str());
    return 1;
  }
  std::vector<uint8_t> bytes;
  uint8_t buf[4096];
  for (size_t n; (n = std::fread(buf, 1, sizeof buf, f)) > 0;) bytes.insert(bytes.end(), buf, buf + n);
  std::fclose(f);
  LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  int inputs = 0, failures = 0;
  for (int i = 1; i < argc; ++i) {
    struct stat st{};
    if (stat(argv[i], &st) != 0) continue;  // a target without regressions yet
    if (!S_ISDIR(st.st_mode)) {
      failures += replay(argv[i]);
      ++inputs;
      continue;
    }
    DIR *d = opendir(argv[i]);
    for (dirent *e; d && (e = readdir(d));) {
      if (e->d_name[0] == '.') continue;
      failures += replay(std::string(argv[i]) + "/" + e->d_name);
      ++inputs;
    }
    if (d) closedir(d);
  }
  std::fprintf(stderr, "replayed %d inputs\n", inputs);
  return failures ? 1 : 0;
}
