// Windows-style dialog filters as Qt's.
#include "shell/file_dialog_filter.h"

#include <QStringList>

#include "shell/qt_text.h"

namespace vremo {

QString DialogFilter(std::string_view filter) {
  const QStringList parts = ToQString(filter).split('|');
  QStringList filters;
  for (int i = 0; i + 1 < parts.size(); i += 2) {
    QStringList patterns = parts[i + 1].split(';', Qt::SkipEmptyParts);
    for (QString& pattern : patterns) {
      if (pattern == "*.*") pattern = "*";
    }
    filters << parts[i] + " (" + patterns.join(' ') + ")";
  }
  return filters.join(";;");
}

}  // namespace vremo
