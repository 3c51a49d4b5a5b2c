#include "platform/qtframework/dialogunits.h"

#include <QFontMetrics>
#include <QStringList>

namespace platform::qt {

QFont DialogFont(std::string_view family, int pointSize) {
  // Registered once per process; later calls find it in place.
  static const bool substituted = [] {
    QStringList sansSerif;
    sansSerif << QStringLiteral("DejaVu Sans") << QStringLiteral("Sans Serif");
    QFont::insertSubstitutions(QStringLiteral("MS Sans Serif"), sansSerif);
    QFont::insertSubstitutions(QStringLiteral("MS Shell Dlg"), sansSerif);
    return true;
  }();
  static_cast<void>(substituted);
  QFont font(QString::fromUtf8(family.data(), static_cast<qsizetype>(family.size())));
  font.setStyleHint(QFont::SansSerif);
  font.setPointSize(pointSize > 0 ? pointSize : 8);
  return font;
}

DialogBaseUnits BaseUnitsOf(const QFont& font) {
  const QFontMetrics metrics(font);
  const int letters = metrics.horizontalAdvance(
      QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
  return {(letters / 26 + 1) / 2, metrics.height()};
}

int DialogToPixels(int units, int base, int per) {
  const long long scaled = static_cast<long long>(units) * base;
  const long long half = per / 2;
  return static_cast<int>(scaled >= 0 ? (scaled + half) / per : -((-scaled + half) / per));
}

QRect DialogRectToPixels(int x, int y, int width, int height, DialogBaseUnits base) {
  return {DialogToPixels(x, base.x, 4), DialogToPixels(y, base.y, 8),
          DialogToPixels(width, base.x, 4), DialogToPixels(height, base.y, 8)};
}

}  // namespace platform::qt
