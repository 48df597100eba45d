// The Qt::Key -> virtual-key table.
#include "shell/virtual_keys.h"

#include <Qt>
#include <array>
#include <utility>

namespace vremo {
namespace {

constexpr std::array<std::pair<int, int32_t>, 66> kKeyTable = {{
    {Qt::Key_Backspace, 8},
    {Qt::Key_Tab, kVkTab},
    {Qt::Key_Backtab, kVkTab},
    {Qt::Key_Return, 13},
    {Qt::Key_Enter, 13},
    {Qt::Key_Shift, 16},
    {Qt::Key_Control, kVkControl},
    {Qt::Key_Alt, kVkMenu},
    {Qt::Key_Pause, 19},
    {Qt::Key_CapsLock, 20},
    {Qt::Key_Escape, 27},
    {Qt::Key_Space, 32},
    {Qt::Key_PageUp, 33},
    {Qt::Key_PageDown, 34},
    {Qt::Key_End, 35},
    {Qt::Key_Home, 36},
    {Qt::Key_Left, 37},
    {Qt::Key_Up, 38},
    {Qt::Key_Right, 39},
    {Qt::Key_Down, 40},
    {Qt::Key_Insert, 45},
    {Qt::Key_Delete, 46},
    // Shifted digits of a US keyboard.
    {Qt::Key_ParenRight, '0'},
    {Qt::Key_Exclam, '1'},
    {Qt::Key_At, '2'},
    {Qt::Key_NumberSign, '3'},
    {Qt::Key_Dollar, '4'},
    {Qt::Key_Percent, '5'},
    {Qt::Key_AsciiCircum, '6'},
    {Qt::Key_Ampersand, '7'},
    {Qt::Key_Asterisk, '8'},
    {Qt::Key_ParenLeft, '9'},
    // Punctuation keys, plain and shifted.
    {Qt::Key_Semicolon, 186},
    {Qt::Key_Colon, 186},
    {Qt::Key_Equal, 187},
    {Qt::Key_Plus, 187},
    {Qt::Key_Comma, 188},
    {Qt::Key_Less, 188},
    {Qt::Key_Minus, 189},
    {Qt::Key_Underscore, 189},
    {Qt::Key_Period, 190},
    {Qt::Key_Greater, 190},
    {Qt::Key_Slash, 191},
    {Qt::Key_Question, 191},
    {Qt::Key_QuoteLeft, 192},
    {Qt::Key_AsciiTilde, 192},
    {Qt::Key_BracketLeft, 219},
    {Qt::Key_BraceLeft, 219},
    {Qt::Key_Backslash, 220},
    {Qt::Key_Bar, 220},
    {Qt::Key_BracketRight, 221},
    {Qt::Key_BraceRight, 221},
    {Qt::Key_Apostrophe, 222},
    {Qt::Key_QuoteDbl, 222},
    {Qt::Key_Meta, 91},
    {Qt::Key_Menu, 93},
    {Qt::Key_NumLock, 144},
    {Qt::Key_ScrollLock, 145},
    {Qt::Key_Print, 44},
    {Qt::Key_Clear, 12},
    {Qt::Key_Super_L, 91},
    {Qt::Key_Super_R, 92},
    {Qt::Key_AltGr, kVkMenu},
    {Qt::Key_Help, 47},
    {Qt::Key_Select, 41},
    {Qt::Key_Execute, 43},
}};

// Keys of the numeric pad that are not digits.
constexpr std::array<std::pair<int, int32_t>, 5> kKeypadTable = {{
    {Qt::Key_Asterisk, 106},
    {Qt::Key_Plus, 107},
    {Qt::Key_Minus, 109},
    {Qt::Key_Period, 110},
    {Qt::Key_Slash, 111},
}};

constexpr int32_t kFunctionKeyCount = 24;

}  // namespace

int32_t VirtualKeyOf(int qtKey, bool keypad) {
  if (keypad) {
    if (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9) return kVkNumpad0 + (qtKey - Qt::Key_0);
    for (const auto& [key, code] : kKeypadTable) {
      if (key == qtKey) return code;
    }
  }
  // Letters and digits carry their own codes.
  if ((qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) || (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9)) return qtKey;
  if (qtKey >= Qt::Key_F1 && qtKey < Qt::Key_F1 + kFunctionKeyCount) return kVkF1 + (qtKey - Qt::Key_F1);
  for (const auto& [key, code] : kKeyTable) {
    if (key == qtKey) return code;
  }
  return kNoVirtualKey;
}

}  // namespace vremo
