// Utils/FileUtils.h: files, directories and paths, with the messages of their failures.
// Does:     opens, tests, deletes, renames and lists; joins and cuts paths.
// Throws:   a std::string with the message that each function names.
// Not here: file contents; what differs between operating systems (Platform.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Platform.h"

namespace tarvek {

/// Both characters separate the parts of a path when we read one.
inline constexpr std::string_view kSeparators = "\\/";

/// Opens path with a C stdio mode. Throws "Cannot open " + kind + " File, Path: " + path.
File OpenFile(const std::string& path, std::string_view mode, const std::string& kind);

/// The same for reading what our programs wrote, which a named pipe is not: nobody waits for one.
File OpenOwnFile(const std::string& path, const std::string& kind);

/// Locks path for this run so that no second run writes it; creates path when it is missing. The
/// lock holds nothing where the system has no locks. Throws "Another run is writing " + path +
/// advice.
FileLock LockFile(const std::string& path);

/// The same for an output that is written as path until it is complete: the message names output.
FileLock LockFileFor(const std::string& output, const std::string& path);

/// Whether path can be opened for reading; false for a directory.
bool FileExists(const std::string& path);

/// Whether there is a file at path, readable or not; true also where the system does not let us look. For
/// what is read next, so that its reader says why it cannot.
bool IsThere(const std::string& path);

/// Whether path is a file that can be read or a directory that can be listed.
bool PathExists(const std::string& path);

/// Where the last separator of path is, npos without one. A '\\' in the name of a file that is there is
/// none where the system takes it for a letter.
std::size_t LastSeparatorOf(std::string_view path);

/// path itself when it is a directory or has no separator, "." when it is empty, else the text
/// before the last separator.
std::string DirectoryOf(const std::string& path);

/// The last part of a path, all of it when there is no separator. It borrows from path.
std::string_view FileNameOf(std::string_view path);

/// The path before its last part: "." when it has no separator, the root for a file in the root.
/// Unlike DirectoryOf it looks only at the text.
std::string FolderOf(std::string_view path);

/// Joins the parts with one separator between them, after removing each part's trailing separators,
/// of which a backslash of a POSIX name that is there is none.
/// An empty first part adds nothing; a first part of separators only stays a root.
std::string JoinPath(std::initializer_list<std::string_view> parts);

/// The sizes of regular files together, in bytes; nothing when one of them is none.
std::optional<std::int64_t> SizeOfFiles(std::initializer_list<std::string> paths);

/// path without its trailing separators.
std::string WithoutTrailingSeparators(std::string_view path);

/// Makes a directory and its missing parents. Trims blanks and trailing separators from path first.
/// Throws "Can not make the directory: " + path.
void MakeDirectory(std::string_view path);

/// Deletes path when it is there and no directory, readable or not. Throws "Cannot delete file: " + path.
void RemoveFile(const std::string& path);

/// Renames a file, replacing an existing one. Throws "Cannot rename file: " + from.
void RenameFile(const std::string& from, const std::string& to);

/// Has the system store the name of path, which is there, and the others in its folder. Throws "Cannot
/// store the names of files in " + folder.
void SyncFolderOf(const std::string& path);

/// Moves an open file to its first byte. Throws "Cannot relocate to 0 in " + name.
void RewindFile(const std::string& name, File& file);

/// The input files for path: path itself when it is a file, readable or not, with extension ext (with
/// its dot, letter case ignored); for a directory, its files with that extension in the order in which the system
/// lists them, without names that begin with "."; otherwise empty. Throws "Cannot open File: " +
/// path when a directory cannot be listed.
std::vector<std::string> ListFiles(const std::string& path, std::string_view ext);

/// The same for files of any of several extensions, in one list.
std::vector<std::string> ListFilesOfAny(const std::string& path,
                                        std::span<const std::string> extensions);

}  // namespace tarvek
