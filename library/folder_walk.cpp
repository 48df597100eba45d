// Listing the library folders with readdir and fstatat.
#include "library/folder_walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

namespace vremo {
namespace {

constexpr std::string_view kChartExtensions[] = {".bms", ".bme"};

std::string WithReason(std::string_view prefix, const std::string& path, int error) {
  return std::string(prefix) + path + " (" + std::strerror(error) + ")";
}

struct Walker {
  std::set<std::pair<dev_t, ino_t>> seen;
  FolderWalk walk;

  // Lists one folder: its chart files, and its subfolders to walk next.
  void List(const std::string& path, std::vector<std::string>& subfolders) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* dir = fd < 0 ? nullptr : ::fdopendir(fd);
    if (dir == nullptr) {
      const int error = errno;
      if (fd >= 0) ::close(fd);
      walk.unlisted.push_back(path);
      walk.skipped.push_back(WithReason(kSkipUnreadableFolder, path, error));
      return;
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(dir)) {
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      const bool maybeFolder = entry->d_type == DT_DIR || entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN;
      if (maybeFolder || IsChartFileName(name)) names.emplace_back(name);
    }
    std::sort(names.begin(), names.end());
    WalkedFolder folder{path, {}};
    for (const std::string& name : names) Classify(::dirfd(dir), path + "/" + name, name, folder, subfolders);
    ::closedir(dir);
    if (!folder.files.empty()) walk.folders.push_back(std::move(folder));
  }

  void Classify(int dirFd, const std::string& path, const std::string& name, WalkedFolder& folder,
                std::vector<std::string>& subfolders) {
    struct stat info {};
    if (::fstatat(dirFd, name.c_str(), &info, 0) != 0) {
      // A link to nothing (or a name gone since the listing).
      struct stat link {};
      if (::fstatat(dirFd, name.c_str(), &link, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(link.st_mode)) {
        walk.skipped.push_back(std::string(kSkipBrokenLink) + path);
      }
      return;
    }
    if (S_ISDIR(info.st_mode)) {
      if (seen.insert({info.st_dev, info.st_ino}).second) {
        subfolders.push_back(path);
      } else {
        walk.skipped.push_back(std::string(kSkipFolderLoop) + path);
      }
      return;
    }
    if (!IsChartFileName(name)) return;
    if (!S_ISREG(info.st_mode)) {
      walk.skipped.push_back(std::string(kSkipNotAFile) + path);
      return;
    }
    const int64_t mtime = static_cast<int64_t>(info.st_mtim.tv_sec) * kNanosecondsPerSecond + info.st_mtim.tv_nsec;
    folder.files.push_back(WalkedFile{path, static_cast<int64_t>(info.st_size), mtime});
  }

  // Depth first, children in name order, so folders come in path order.
  void WalkRoot(const std::string& root) {
    struct stat info {};
    if (::stat(root.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
      const int error = errno != 0 ? errno : ENOTDIR;
      walk.unlisted.push_back(root);
      walk.skipped.push_back(WithReason(kSkipMissingRoot, root, error));
      return;
    }
    if (!seen.insert({info.st_dev, info.st_ino}).second) return;
    std::vector<std::string> stack{root};
    while (!stack.empty()) {
      const std::string path = std::move(stack.back());
      stack.pop_back();
      std::vector<std::string> subfolders;
      List(path, subfolders);
      stack.insert(stack.end(), subfolders.rbegin(), subfolders.rend());
    }
  }
};

}  // namespace

bool IsInsideFolder(const std::string& path, const std::string& folder) {
  return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 && path[folder.size()] == '/';
}

bool IsChartFileName(std::string_view name) {
  for (std::string_view extension : kChartExtensions) {
    if (name.size() <= extension.size()) continue;
    const std::string_view tail = name.substr(name.size() - extension.size());
    const bool same = std::equal(tail.begin(), tail.end(), extension.begin(),
                                 [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; });
    if (same) return true;
  }
  return false;
}

FolderWalk WalkFolders(const std::vector<std::string>& roots) {
  Walker walker;
  // Outer roots first, so that a root inside another is found in its walk.
  std::vector<std::string> ordered = roots;
  std::sort(ordered.begin(), ordered.end());
  std::vector<std::string> outer;
  for (const std::string& root : ordered) {
    const bool nested =
        std::any_of(outer.begin(), outer.end(), [&root](const std::string& o) { return IsInsideFolder(root, o); });
    if (!nested) outer.push_back(root);
  }
  for (const std::string& root : outer) walker.WalkRoot(root);
  std::sort(walker.walk.folders.begin(), walker.walk.folders.end(),
            [](const WalkedFolder& a, const WalkedFolder& b) { return a.path < b.path; });
  return std::move(walker.walk);
}

}  // namespace vremo
