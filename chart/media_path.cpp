// Case-insensitive, extension-tolerant lookup of media files.
#include "chart/media_path.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace vremo {
namespace {

namespace fs = std::filesystem;

constexpr std::array<std::string_view, 4> kSoundExtensions = {".wav", ".ogg", ".flac", ".mp3"};
constexpr std::array<std::string_view, 5> kPictureExtensions = {".bmp", ".png", ".jpg", ".jpeg", ".gif"};

std::string Lower(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c); });
  return out;
}

bool IsRegularFile(const fs::path& path) {
  std::error_code ec;
  return fs::is_regular_file(path, ec);
}

}  // namespace

const MediaFolderIndex::Listing* MediaFolderIndex::ListingOf(const std::string& folder) {
  const fs::path where = folder.empty() ? fs::path(".") : fs::path(folder);
  std::error_code ec;
  const int64_t modified = fs::last_write_time(where, ec).time_since_epoch().count();
  if (ec) return nullptr;
  auto found = folders_.find(folder);
  if (found != folders_.end() && found->second.modified == modified) return &found->second;
  Listing listing;
  listing.modified = modified;
  for (fs::directory_iterator it(where, ec), end; !ec && it != end; it.increment(ec)) {
    std::string entry = it->path().filename().string();
    listing.byLowerName.emplace(Lower(entry), std::move(entry));
  }
  ++listings_;
  return &(folders_[folder] = std::move(listing));
}

// The entry of `folder` whose name equals `name` ignoring ASCII case.
std::optional<std::string> MediaFolderIndex::FindIgnoringCase(const std::string& folder, const std::string& name) {
  std::error_code ec;
  const fs::path exact = fs::path(folder) / name;
  if (fs::exists(exact, ec)) return exact.string();
  const Listing* listing = ListingOf(folder);
  if (listing == nullptr) return std::nullopt;
  const auto entry = listing->byLowerName.find(Lower(name));
  if (entry == listing->byLowerName.end()) return std::nullopt;
  return (fs::path(folder) / entry->second).string();
}

// Walks the path component by component, each matched ignoring case.
std::optional<std::string> MediaFolderIndex::ResolveIgnoringCase(const std::string& path) {
  fs::path current = !path.empty() && path.front() == '/' ? fs::path("/") : fs::path();
  size_t pos = 0;
  while (pos <= path.size()) {
    size_t next = path.find('/', pos);
    if (next == std::string::npos) next = path.size();
    const std::string part = path.substr(pos, next - pos);
    pos = next + 1;
    if (part.empty() || part == ".") continue;
    if (part == "..") {
      current /= "..";
      continue;
    }
    auto found = FindIgnoringCase(current.string(), part);
    if (!found) return std::nullopt;
    current = *found;
  }
  if (!IsRegularFile(current)) return std::nullopt;
  return current.string();
}

std::optional<std::string> MediaFolderIndex::Resolve(const std::string& path, MediaKind kind) {
  std::string normal = path;
  std::replace(normal.begin(), normal.end(), '\\', '/');
  if (normal.empty() || normal.back() == '/') return std::nullopt;
  if (IsRegularFile(normal)) return normal;
  if (auto found = ResolveIgnoringCase(normal)) return found;

  const size_t slash = normal.find_last_of('/');
  const size_t dot = normal.find_last_of('.');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  const std::string stem = hasExtension ? normal.substr(0, dot) : normal;
  const std::string own = hasExtension ? Lower(normal.substr(dot)) : std::string();
  auto tryExtensions = [&](auto const& extensions) -> std::optional<std::string> {
    for (std::string_view ext : extensions) {
      if (ext == own) continue;
      if (auto found = ResolveIgnoringCase(stem + std::string(ext))) return found;
    }
    return std::nullopt;
  };
  return kind == MediaKind::kSound ? tryExtensions(kSoundExtensions) : tryExtensions(kPictureExtensions);
}

std::optional<std::string> ResolveMediaPath(const std::string& path, MediaKind kind) {
  MediaFolderIndex folders;
  return folders.Resolve(path, kind);
}

}  // namespace vremo
