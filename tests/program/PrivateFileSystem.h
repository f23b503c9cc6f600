// tests/program/PrivateFileSystem.h: a small file system for one test.
// Does:     mounts it in a private mount namespace of this process and its children, so that it is
//           invisible outside; unmounts it at the end.
#pragma once

#include <sched.h>
#include <sys/mount.h>

#include <string>
#include <utility>

namespace tarvek::test {

class PrivateFileSystem {
 public:
  /// options: of tmpfs, such as "size=1m". Without permission it mounts nothing.
  PrivateFileSystem(std::string path, const char* options) : m_path(std::move(path)) {
    m_is_mounted = ::unshare(CLONE_NEWNS) == 0 &&
                   ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   ::mount("none", m_path.c_str(), "tmpfs", 0, options) == 0;
  }
  PrivateFileSystem(const PrivateFileSystem&) = delete;
  PrivateFileSystem& operator=(const PrivateFileSystem&) = delete;
  ~PrivateFileSystem() {
    if (m_is_mounted) ::umount2(m_path.c_str(), MNT_DETACH);
  }

  [[nodiscard]] bool IsMounted() const { return m_is_mounted; }

  /// From now on nothing can be written, not even by root.
  [[nodiscard]] bool MakeReadOnly() const {
    return ::mount("none", m_path.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
  }

 private:
  std::string m_path;
  bool m_is_mounted = false;
};

}  // namespace tarvek::test
