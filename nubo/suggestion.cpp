#include "nubo/suggestion.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace nubo::app {

namespace {

// The number of letters to insert, delete or replace.
int editDistance(const QString& a, const QString& b) {
  std::vector<int> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (int i = 1; i <= a.size(); ++i) {
    int diagonal = row[0];
    row[0] = i;
    for (int j = 1; j <= b.size(); ++j) {
      const int replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
    }
  }
  return row[b.size()];
}

}  // namespace

QString suggestion(const QString& word, const QStringList& known) {
  int best = std::max(2, int(word.size()) / 3);
  QStringList closest;
  for (const QString& candidate : known) {
    const bool extends = word.size() > 2 && candidate.startsWith(word, Qt::CaseInsensitive);
    const int distance = extends ? 1 : editDistance(word.toLower(), candidate.toLower());
    if (distance > best) continue;
    if (distance < best) closest.clear();
    best = distance;
    closest << QLatin1Char('"') + candidate + QLatin1Char('"');
  }
  if (closest.isEmpty()) return QString();
  return QStringLiteral("; did you mean %1?").arg(QStringList(closest.mid(0, 2)).join(QStringLiteral(" or ")));
}

}  // namespace nubo::app
