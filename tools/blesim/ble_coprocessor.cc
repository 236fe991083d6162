#include "blesim/ble_coprocessor.h"

#include <algorithm>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>

namespace aputil::sim {

namespace {
void append16(Bytes &b, uint16_t v) {
  b.push_back(static_cast<uint8_t>(v & 0xFF));
  b.push_back(static_cast<uint8_t>(v >> 8));
}
}  // namespace

BleCoprocessor::BleCoprocessor() {
  master_ = posix_openpt(O_RDWR | O_NOCTTY);
  if (master_ >= 0 && grantpt(master_) == 0 && unlockpt(master_) == 0) {
    device_ = ptsname(master_);
    slave_ = open(device_.c_str(), O_RDWR | O_NOCTTY);  // held open so the master never sees a hang-up
  }
  thread_ = std::thread([this] { serve(); });
}

BleCoprocessor::~BleCoprocessor() {
  {
    std::lock_guard<std::mutex> lock(mu_);
    stop_ = true;
  }
  thread_.join();
  if (slave_ >= 0) close(slave_);
  if (master_ >= 0) close(master_);
}

void BleCoprocessor::reply(uint16_t opcode, Reply r) {
  std::lock_guard<std::mutex> lock(mu_);
  queued_[opcode].push_back(std::move(r));
}

void BleCoprocessor::reply_always(uint16_t opcode, Reply r) {
  std::lock_guard<std::mutex> lock(mu_);
  standing_[opcode] = std::move(r);
}

void BleCoprocessor::set_responder(std::function<Reply(const HciCommand &)> responder) {
  std::lock_guard<std::mutex> lock(mu_);
  responder_ = std::move(responder);
}

void BleCoprocessor::set_observer(std::function<void(bool, const Bytes &)> observer) {
  std::lock_guard<std::mutex> lock(mu_);
  observer_ = std::move(observer);
}

void BleCoprocessor::push(const Bytes &bytes) {
  if (!bytes.empty() && write(master_, bytes.data(), bytes.size()) < 0) return;
}

Bytes BleCoprocessor::received() const {
  std::lock_guard<std::mutex> lock(mu_);
  return received_;
}

std::vector<HciCommand> BleCoprocessor::commands() const {
  std::lock_guard<std::mutex> lock(mu_);
  return commands_;
}

bool BleCoprocessor::wait_commands(size_t n, int timeout_ms) const {
  std::unique_lock<std::mutex> lock(mu_);
  return cv_.wait_for(lock, std::chrono::milliseconds(timeout_ms), [&] { return commands_.size() >= n; });
}

void BleCoprocessor::serve() {
  for (;;) {
    {
      std::lock_guard<std::mutex> lock(mu_);
      if (stop_ || master_ < 0) return;
    }
    pollfd p{master_, POLLIN, 0};
    if (poll(&p, 1, 10) <= 0 || !(p.revents & POLLIN)) continue;
    uint8_t buf[256];
    const ssize_t n = read(master_, buf, sizeof buf);
    if (n <= 0) continue;
    std::vector<HciCommand> complete;
    {
      std::lock_guard<std::mutex> lock(mu_);
      received_.insert(received_.end(), buf, buf + n);
      pending_.insert(pending_.end(), buf, buf + n);
      for (;;) {
        while (!pending_.empty() && pending_[0] != 0x01) pending_.erase(pending_.begin());  // not a command
        if (pending_.size() < 4 || pending_.size() < 4u + pending_[3]) break;
        HciCommand cmd{static_cast<uint16_t>(pending_[1] | (pending_[2] << 8)),
                       Bytes(pending_.begin() + 4, pending_.begin() + 4 + pending_[3])};
        if (observer_) observer_(true, Bytes(pending_.begin(), pending_.begin() + 4 + pending_[3]));
        pending_.erase(pending_.begin(), pending_.begin() + 4 + pending_[3]);
        commands_.push_back(cmd);
        complete.push_back(cmd);
      }
    }
    cv_.notify_all();
    for (const auto &cmd : complete) answer(cmd);
  }
}

void BleCoprocessor::answer(const HciCommand &cmd) {
  Reply r;
  std::function<void(bool, const Bytes &)> observer;
  {
    std::lock_guard<std::mutex> lock(mu_);
    auto q = queued_.find(cmd.opcode);
    if (q != queued_.end() && !q->second.empty()) {
      r = q->second.front();
      q->second.pop_front();
    } else if (auto s = standing_.find(cmd.opcode); s != standing_.end()) {
      r = s->second;
    } else if (responder_) {
      r = responder_(cmd);
    }
    observer = observer_;
  }
  if (r.bytes.empty()) return;  // silence
  if (r.delay_ms > 0) std::this_thread::sleep_for(std::chrono::milliseconds(r.delay_ms));
  if (observer) observer(false, r.bytes);
  push(r.bytes);
}

Bytes BleCoprocessor::event(uint8_t code, const Bytes &params) {
  // Sized once and filled (an insert after a braced list trips a false
  // -Warray-bounds of GCC 12 at -O3).
  Bytes b(3 + params.size());
  b[0] = 0x04;
  b[1] = code;
  b[2] = static_cast<uint8_t>(params.size());
  std::copy(params.begin(), params.end(), b.begin() + 3);
  return b;
}

Bytes BleCoprocessor::command_complete(uint16_t opcode, uint8_t status, const Bytes &ret) {
  Bytes p{0x01};
  append16(p, opcode);
  p.push_back(status);
  p.insert(p.end(), ret.begin(), ret.end());
  return event(0x0E, p);
}

Bytes BleCoprocessor::vendor_event(uint16_t event_code, uint8_t status, uint16_t opcode, const Bytes &data) {
  Bytes p;
  append16(p, event_code);
  p.push_back(status);
  append16(p, opcode);
  p.insert(p.end(), data.begin(), data.end());
  return event(0xFF, p);
}

Bytes BleCoprocessor::short_reply(uint16_t code, uint8_t status, const Bytes &data) {
  Bytes p;
  append16(p, code);
  p.push_back(status);
  p.insert(p.end(), data.begin(), data.end());
  Bytes b = event(0xFF, p);
  if (status == 0) b.insert(b.end(), 3, 0);
  return b;
}

}  // namespace aputil::sim
