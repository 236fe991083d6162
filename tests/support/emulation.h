// Tests that user-mode emulation (the cross build's qemu) cannot run skip.
#pragma once

#ifdef APUTIL_TEST_EMULATED
#define SKIP_UNDER_EMULATION(reason) GTEST_SKIP() << "under user-mode emulation: " << (reason)
#else
#define SKIP_UNDER_EMULATION(reason) static_cast<void>(0)
#endif
