// Forget the logs' process-wide state (tests only).
#pragma once

namespace aputil::diag {
void reset_dbg_for_tests();
void reset_input_record_for_tests();
}  // namespace aputil::diag
