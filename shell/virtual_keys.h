#pragma once
// Qt key events as Windows virtual-key codes, the codes the key map file and
// the hot keys are written in. One table covers the keys a player can reach
// on a PC keyboard; the shifted symbols of a US layout map to their key
// ("!" is the key 1), and digits from the numeric pad to the pad's codes.
// The main window and the key configuration dialog call it. UI thread.

#include <cstdint>

namespace vremo {

inline constexpr int32_t kNoVirtualKey = 0;
inline constexpr int32_t kVkTab = 9;
inline constexpr int32_t kVkControl = 17;
inline constexpr int32_t kVkMenu = 18;
inline constexpr int32_t kVkF1 = 0x70;
inline constexpr int32_t kVkNumpad0 = 0x60;

// `qtKey` is a Qt::Key value; `keypad` whether Qt marked the event with the
// keypad modifier. kNoVirtualKey for keys without a code.
int32_t VirtualKeyOf(int qtKey, bool keypad);

}  // namespace vremo
