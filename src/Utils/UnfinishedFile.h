// Utils/UnfinishedFile.h: a file that gets its name when it is complete.
// Does:     writes under a temporary name beside the final one, has the system store the bytes, renames
//           at the end, and removes what did not come that far; on request keeps that, or locks the
//           temporary file.
// Owns:     the open file, the lock.
// Throws:   a std::string: what OutputFile throws, "Cannot rename file: " + temporary path, "Cannot
//           finish ..." when the path leads to another file than the one written, or, of a locked one,
//           "Another run is writing ..." while another holder has it. The destructor
//           removes the temporary file when it can and throws nothing, so that the error that led
//           there stays the one that is told.
// Not here: which of several files is named last.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "OutputFile.h"
#include "Platform.h"

namespace tarvek {

/// The suffix of a file's name until the file is complete.
inline constexpr std::string_view kUnfinished = "_unfinished";

/// The name of a file until it is complete: path + kUnfinished.
inline std::string UnfinishedPathOf(std::string_view path) {
  return std::string(path).append(kUnfinished);
}

/// When a file gets its name.
enum class Naming { kAtOnce, kWhenComplete };

/// How an UnfinishedFile treats its temporary file.
struct UnfinishedForm {
  std::string_view m_mode = "wb";
  bool m_is_locked = false;                 // as long as the object lives: see LockFile
  bool m_is_kept = false;                   // when it never gets its name
  Naming m_naming = Naming::kWhenComplete;  // kAtOnce: without a temporary file
};

class UnfinishedFile {
 public:
  /// kind goes into OpenFile's message.
  UnfinishedFile(std::string path, const std::string& kind, const UnfinishedForm& form = {});
  ~UnfinishedFile();
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;

  /// Do not call it once the file is closed.
  [[nodiscard]] OutputFile& File() noexcept { return *m_file; }
  [[nodiscard]] const std::string& Path() const noexcept { return m_path; }
  [[nodiscard]] std::string TemporaryPath() const {
    return m_naming == Naming::kAtOnce ? m_path : UnfinishedPathOf(m_path);
  }

  /// Writes and stores what is left and gives the memory back. Closing twice is harmless.
  void Close();

  /// Closes the file and gives it its name, replacing an existing one.
  void TakeName();

 private:
  void CheckName() const;
  /// The temporary path, without a pipe there, in which the bytes would be lost.
  [[nodiscard]] std::string ClearedTemporaryPath() const;

  std::string m_path;
  Naming m_naming;
  FileLock m_lock;
  std::optional<OutputFile> m_file;  // closed before a rename or delete: Windows requires it
  bool m_is_kept;                    // or has its name
  std::optional<FileIdentity> m_identity;  // nothing for what is no regular file
};

/// Writes a small file in one go: path is complete or unchanged.
void WriteWhole(const std::string& path, std::string_view content, const std::string& kind);

}  // namespace tarvek
