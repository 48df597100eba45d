#pragma once
// Decoding a sound file into a SoundData with libsndfile: WAV (PCM 8/16/24/32
// bit, float, IMA and MS ADPCM), OGG Vorbis, FLAC, MP3 and whatever else the
// installed library reads. Mono is duplicated to both channels; of files with
// more than two channels the first two are kept. Any thread: it touches
// nothing shared (a load's worker threads decode with it).

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "display/sound_data.h"

namespace vremo {

// Longest sound kept: about 25 minutes at 44.1 kHz (512 MiB decoded); the
// rest of a longer file is cut off.
inline constexpr int64_t kMaxSoundFrames = int64_t{1} << 26;
inline constexpr int64_t kNoDecodeBudget = std::numeric_limits<int64_t>::max();

enum class DecodeStatus { kDecoded, kFailed, kOverBudget };

// Memory a decoded sound of `frames` frames takes, its guard frame included.
int64_t DecodedBytes(int64_t frames);
// Whether a decoded sound of `frames` frames stays within `budgetBytes`, as
// DecodeSoundFile decides it.
bool FitsBudget(int64_t frames, int64_t budgetBytes);

// Decodes the file at `path` (an existing file's name: resolve chart names with
// ResolveMediaPath first). Only a regular file is read, and it is opened
// without blocking, so a FIFO or a device never hangs the caller. Returns
// nothing, and writes why into `error` when given, for a file that is missing,
// not a regular file, not a sound, empty, cut short (a WAV whose data chunk is
// shorter than its header says), damaged in its stream, or of a sample rate
// outside [kMinSoundSampleRate, kMaxSoundSampleRate]; also for a sound whose
// decoded data would take more than `budgetBytes` (`status` then says
// kOverBudget).
std::shared_ptr<const SoundData> DecodeSoundFile(const std::string& path, std::string* error = nullptr,
                                                 int64_t budgetBytes = kNoDecodeBudget, DecodeStatus* status = nullptr);

}  // namespace vremo
