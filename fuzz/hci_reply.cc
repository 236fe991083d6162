// HCI reply reading and checks over a pipe holding the input.
#include <fcntl.h>
#include <unistd.h>

#include "ble.h"
#include "fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Quiet quiet;
  if (size < 1 || size > 60000) return 0;
  int p[2];
  if (pipe(p) != 0) return 0;
  fcntl(p[1], F_SETPIPE_SZ, 65536);
  if (write(p[1], data + 1, size - 1) < 0) {
    close(p[0]);
    close(p[1]);
    return 0;
  }
  close(p[1]);  // reads past the end give 0, as a line timeout does
  uint8_t buf[256];
  switch (data[0] % 4) {
    case 0:
      if (ble_rcv_cmd_hci_resp(p[0], buf) == 0) {
        ble_chk_resp(0x201E, buf);
        ble_chk_resp_ext(0xFC11, 0x0411, buf);
      }
      break;
    case 1: ble_rcv_cmd_resp(p[0], buf, 0xFF02); break;
    case 2: ble_rcv_eventdata(p[0], buf); break;
    default: ble_uart_read_bytes_multi(p[0], buf, data[0]); break;
  }
  close(p[0]);
  return 0;
}
