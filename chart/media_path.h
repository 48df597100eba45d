#pragma once
// Finding the file a chart names. Charts were written on a system whose file
// names ignore case and whose folders are separated by "\"; songs are often
// shipped with converted media (".wav" named, ".ogg" shipped). A chart may
// name thousands of files in one folder, most of them missing: each folder is
// listed once into a MediaFolderIndex, so N names in a folder of M files cost
// O(N + M), not O(N x M). Any thread; one index per thread.

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>

namespace vremo {

enum class MediaKind { kSound, kPicture };

// Folder listings by lower-cased name, kept for the names of one chart load.
// A folder whose modification time has changed since it was listed is listed
// again.
class MediaFolderIndex {
 public:
  // Resolves `path` (chart folder + name as written): "\" and "/" both
  // separate folders; a name that does not exist as written is looked up
  // ignoring case, folder by folder; when still missing, the same name with
  // the kind's other extensions is tried (sounds: .wav .ogg .flac .mp3;
  // pictures: .bmp .png .jpg .jpeg .gif). Returns the existing regular file's
  // path, or nothing.
  std::optional<std::string> Resolve(const std::string& path, MediaKind kind);
  // Forgets every listing (a new load begins).
  void Clear() { folders_.clear(); }
  // Folder listings made since construction; for tests.
  int64_t listings() const { return listings_; }

 private:
  struct Listing {
    int64_t modified = 0;                                      // the folder's modification time when listed
    std::unordered_map<std::string, std::string> byLowerName;  // first entry of each lower-cased name
  };
  std::optional<std::string> FindIgnoringCase(const std::string& folder, const std::string& name);
  std::optional<std::string> ResolveIgnoringCase(const std::string& path);
  const Listing* ListingOf(const std::string& folder);

  std::unordered_map<std::string, Listing> folders_;
  int64_t listings_ = 0;
};

// The same resolution with a fresh index, for a single name.
std::optional<std::string> ResolveMediaPath(const std::string& path, MediaKind kind);

}  // namespace vremo
