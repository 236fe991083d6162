// The keys of dev_config.json and radio_config.json, held stricter than
// the loaders hold them: the type and range of every key the loaders read,
// the keys they ignore, and the file size they read up to.
#pragma once

#include <string>

#include "aputil-info/findings.h"

namespace aputil::info {

// Size the loaders read: 2048 bytes of dev_config.json, 1024 of
// radio_config.json; the rest of a longer file is never seen.
constexpr size_t kDevConfigLimit = 2048, kRadioConfigLimit = 1024;

// Adds a finding per problem in the text of the file at device_path.
// Returns: false when the text is not JSON at all (one finding says where).
bool lint_dev_config(const std::string &device_path, const std::string &text, Findings *out);
bool lint_radio_config(const std::string &device_path, const std::string &text, Findings *out);

}  // namespace aputil::info
