#pragma once
// File-dialog filters are written the Windows way, "Description|*.a;*.b|...",
// where the program's texts define them; Qt wants "Description (*.a *.b);;...".
// UI thread only (returns a QString for the dialogs).

#include <QString>
#include <string_view>

namespace vremo {

// "*.*" becomes "*": on Linux a file needs no dot to be a file.
QString DialogFilter(std::string_view filter);

}  // namespace vremo
