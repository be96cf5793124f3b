#include "nubo/cli/suggestion.h"

#include <algorithm>
#include <vector>

namespace nubo::app {

namespace {

// The number of letters to insert, delete, replace or swap with their neighbour.
int editDistance(const QString& a, const QString& b) {
  std::vector<std::vector<int>> cost(a.size() + 1, std::vector<int>(b.size() + 1));
  for (int i = 0; i <= a.size(); ++i) {
    for (int j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        cost[i][j] = i + j;
        continue;
      }
      const bool equal = a[i - 1] == b[j - 1];
      cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, cost[i - 1][j - 1] + (equal ? 0 : 1)});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
    }
  }
  return cost[a.size()][b.size()];
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

QString choiceOf(const QString& name, const QStringList& names) {
  constexpr int Most = 8;
  QString choice = suggestion(name, names);
  if (!choice.isEmpty() || names.isEmpty()) return choice;
  choice = QStringLiteral("; the scene has \"%1\"").arg(names.mid(0, Most).join(QLatin1String("\", \"")));
  if (names.size() > Most) choice += QStringLiteral(" and %1 more").arg(names.size() - Most);
  return choice;
}

}  // namespace nubo::app
