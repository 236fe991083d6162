// A temporary firmware tree: a folder that stands for the device's "/".
// While one exists, APUTIL_SYSROOT points at it; it is removed, and the
// variable restored, when the object goes.
#pragma once

#include <string>

namespace aputil::test {

class FirmwareRoot {
 public:
  FirmwareRoot();
  ~FirmwareRoot();
  FirmwareRoot(const FirmwareRoot &) = delete;
  FirmwareRoot &operator=(const FirmwareRoot &) = delete;

  const std::string &dir() const { return dir_; }
  // Host path of a device path ("/etc/x" -> "<dir>/etc/x").
  std::string host(const std::string &device_path) const { return dir_ + device_path; }
  // Write a file at a device path, creating its folders.
  void write(const std::string &device_path, const std::string &content) const;
  // Content of a file at a device path ("" when missing).
  std::string read(const std::string &device_path) const;

 private:
  std::string dir_;
  std::string saved_;
  bool had_saved_ = false;
};

// Read a whole host file ("" when missing).
std::string read_file(const std::string &path);

}  // namespace aputil::test
