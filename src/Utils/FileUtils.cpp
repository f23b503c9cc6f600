#include "FileUtils.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "StringUtils.h"

namespace tarvek {

namespace {

[[noreturn]] void RefuseToOpen(const std::string& path, const std::string& kind) {
  throw "Cannot open " + kind + " File, Path: " + path;
}

}  // namespace

File OpenFile(const std::string& path, std::string_view mode, const std::string& kind) {
  File file = File::Open(path, mode);
  if (!file.IsOpen()) RefuseToOpen(path, kind);
  return file;
}

File OpenOwnFile(const std::string& path, const std::string& kind) {
  if (IsNamedPipe(path)) RefuseToOpen(path, kind);
  return OpenFile(path, "r", kind);
}

FileLock LockFile(const std::string& path) { return LockFileFor(path, path); }

FileLock LockFileFor(const std::string& output, const std::string& path) {
  FileLock lock = FileLock::Take(path);
  if (lock.IsHeldElsewhere())
    throw "Another run is writing " + output +
        ". Wait until it has ended, or choose another output directory.";
  return lock;
}

bool FileExists(const std::string& path) { return StateAt(path) == FileState::kReadable; }

bool IsThere(const std::string& path) {
  const FileState state = StateAt(path);
  return state == FileState::kReadable || state == FileState::kUnreadable;
}

namespace {

// part, which follows folder, without its trailing separators. On a system where a backslash is a
// character like any other, one that ends the name of what is there stays.
std::string_view WithoutSeparatorsAfter(std::string_view folder, std::string_view part) {
  const std::string_view trimmed = TrimRight(part, kSeparators);
  if (kPathSeparator != '/') return trimmed;
  const std::string_view name = TrimRight(part, "/");
  if (name.size() == trimmed.size()) return trimmed;
  std::string path(folder);
  if (!path.empty() && !path.ends_with('/')) path += '/';
  return StateAt(path.append(name)) == FileState::kAbsent ? trimmed : name;
}

}  // namespace

bool PathExists(const std::string& path) { return FileExists(path) || IsDirectory(path); }

std::size_t LastSeparatorOf(std::string_view path) {
  const std::size_t separator = path.find_last_of(kSeparators);
  if (separator == std::string_view::npos || path[separator] == kPathSeparator) return separator;
  std::error_code error;
  const bool is_system_path = kPathSeparator == '/' && std::filesystem::exists(path, error);
  return is_system_path ? path.rfind(kPathSeparator) : separator;
}

std::string DirectoryOf(const std::string& path) {
  if (IsDirectory(path)) return path;
  const std::size_t separator = LastSeparatorOf(path);
  if (separator != std::string::npos) return path.substr(0, separator);
  return path.empty() ? "." : path;
}

std::string_view FileNameOf(std::string_view path) {
  const std::size_t separator = LastSeparatorOf(path);
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string FolderOf(std::string_view path) {
  const std::size_t separator = LastSeparatorOf(path);
  if (separator == std::string_view::npos) return ".";
  if (separator == 0) return std::string(1, kPathSeparator);
  return std::string(path.substr(0, separator));
}

std::optional<std::int64_t> SizeOfFiles(std::initializer_list<std::string> paths) {
  std::int64_t bytes = 0;
  for (const std::string& path : paths) {
    const std::optional<FileStamp> stamp = StampAt(path);
    if (!stamp) return std::nullopt;
    bytes += stamp->m_bytes;
  }
  return bytes;
}

std::string JoinPath(std::initializer_list<std::string_view> parts) {
  const std::string root(1, kPathSeparator);
  std::string path;
  for (const std::string_view part : parts) {
    const std::string_view trimmed = WithoutSeparatorsAfter(path, part);
    if (path.empty() && trimmed.empty() && !part.empty()) {
      path = root;
      continue;
    }
    if (!path.empty() && path != root) path += kPathSeparator;
    path += trimmed;
  }
  return path;
}

std::string WithoutTrailingSeparators(std::string_view path) {
  return std::string(WithoutSeparatorsAfter({}, path));
}

void MakeDirectory(std::string_view path) {
  const std::string_view trimmed = Trim(path);
  const std::string directory = WithoutTrailingSeparators(trimmed);
  if (IsDirectory(directory)) return;
  if (directory.empty() && !trimmed.empty()) return;  // a root
  // The text is frozen, see docs/frozen-names.md.
  if (!MakeDirectoryTree(directory)) throw "Can not make the directory: " + directory;
}

void RemoveFile(const std::string& path) {
  if (!DeleteFileAt(path) && IsThere(path)) throw "Cannot delete file: " + path;
}

void RenameFile(const std::string& from, const std::string& to) {
  if (!RenameFileAt(from, to)) throw "Cannot rename file: " + from;
}

void SyncFolderOf(const std::string& path) {
  if (!SyncDirectory(FolderOf(path))) throw "Cannot store the names of files in " + FolderOf(path);
}

void RewindFile(const std::string& name, File& file) {
  if (!file.Seek(0)) throw "Cannot relocate to 0 in " + name;
}

std::vector<std::string> ListFiles(const std::string& path, std::string_view ext) {
  const std::string extension(ext);
  return ListFilesOfAny(path, {&extension, 1});
}

std::vector<std::string> ListFilesOfAny(const std::string& path,
                                        std::span<const std::string> extensions) {
  const auto is_wanted = [extensions](std::string_view name) {
    return std::ranges::any_of(
        extensions, [name](const std::string& ext) { return EndsWithIgnoreCase(name, ext); });
  };
  if (is_wanted(path) && IsThere(path)) return {path};
  if (!IsDirectory(path)) return {};
  const auto names = ListDirectoryNames(path);
  if (!names) throw "Cannot open File: " + path;
  std::vector<std::string> files;
  for (const std::string& name : *names)
    if (!name.starts_with('.') && is_wanted(name)) files.push_back(JoinPath({path, name}));
  return files;
}

}  // namespace tarvek
