// The regulatory database parser on any bytes: a success holds only
// well-formed countries that find() reaches, a failure says why in one line.
#include <cstring>
#include <string>

#include "aputil-info/regdb.h"
#include "fuzz_args.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  using namespace aputil::info;
  RegDb db;
  db.version = 7;  // a failure leaves it as it was
  std::string error;
  if (!parse_regdb(data, size, &db, &error)) {
    FUZZ_CHECK(!error.empty() && error.find('\n') == std::string::npos);
    FUZZ_CHECK(db.version == 7 && db.countries.empty());
    return 0;
  }
  FUZZ_CHECK(db.version == 20 && error.empty());
  FUZZ_CHECK(db.countries.size() <= (size - 8) / 4);
  for (const RegCountry &c : db.countries) {
    const bool letters = c.alpha2[0] >= 'A' && c.alpha2[0] <= 'Z' && c.alpha2[1] >= 'A' && c.alpha2[1] <= 'Z';
    FUZZ_CHECK((letters || std::strcmp(c.alpha2, "00") == 0) && c.alpha2[2] == '\0');
    FUZZ_CHECK(db.find(c.alpha2) == &c);
    const char lower[3] = {static_cast<char>(c.alpha2[0] | 0x20), static_cast<char>(c.alpha2[1] | 0x20), '\0'};
    FUZZ_CHECK(!letters || db.find(lower) == nullptr);
    FUZZ_CHECK(c.rules.size() <= 255);
    for (const RegRule &r : c.rules)
      FUZZ_CHECK(r.start_khz <= r.end_khz && r.max_eirp_mbm >= 0 && r.max_eirp_mbm <= 65535);
  }
  return 0;
}
