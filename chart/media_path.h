#pragma once
// Finding the file a chart names. Charts were written on a system whose file
// names ignore case and whose folders are separated by "\"; songs are often
// shipped with converted media (".wav" named, ".ogg" shipped). Any thread.

#include <optional>
#include <string>

namespace vremo {

enum class MediaKind { kSound, kPicture };

// Resolves `path` (chart folder + name as written): "\" and "/" both separate
// folders; a name that does not exist as written is looked up ignoring case,
// folder by folder; when still missing, the same name with the kind's other
// extensions is tried (sounds: .wav .ogg .flac .mp3; pictures: .bmp .png
// .jpg .jpeg .gif). Returns the existing file's path, or nothing.
std::optional<std::string> ResolveMediaPath(const std::string& path, MediaKind kind);

}  // namespace vremo
