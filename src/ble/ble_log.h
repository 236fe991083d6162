// The BLE driver's console lines: "[BLE_ERR][function:line] ..." and
// "[BLE_DBG][function:line] ..." on stdout.
#pragma once

#include <cstdio>

#define BLE_ERR(func, line, fmt, ...) std::printf("[BLE_ERR][%s:%d] " fmt, func, line, ##__VA_ARGS__)
#define BLE_DBG(func, line, fmt, ...) std::printf("[BLE_DBG][%s:%d] " fmt, func, line, ##__VA_ARGS__)
