#include "nubo/window/results/resultview.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QPushButton>

#include "nubo/window/look/elidedlabel.h"
#include "nubo/window/results/desktop.h"

namespace nubo::window {

namespace {

/// On squares of two greys, so that one sees what is transparent.
QPixmap onSquares(const QImage& picture) {
  constexpr int Side = 8;
  QPixmap pixmap(picture.size());
  QPainter painter(&pixmap);
  painter.fillRect(pixmap.rect(), QColor(0xee, 0xee, 0xee));
  for (int y = 0; picture.hasAlphaChannel() && y < pixmap.height(); y += Side)
    for (int x = y % (2 * Side); x < pixmap.width(); x += 2 * Side)
      painter.fillRect(x, y, Side, Side, QColor(0xd4, 0xd4, 0xd4));
  painter.drawImage(0, 0, picture);
  return pixmap;
}

}  // namespace

QString figuresOf(const QVariantMap& facts, qint64 bytes) {
  QStringList figures;
  if (const int frames = facts.value(QStringLiteral("frames")).toInt(); frames > 0)
    figures << ResultView::tr("%n frames", "", frames);
  if (const double seconds = facts.value(QStringLiteral("seconds")).toDouble(); seconds > 0)
    figures << ResultView::tr("%1 s").arg(QLocale().toString(seconds, 'f', 1));
  const int width = facts.value(QStringLiteral("width")).toInt(),
            height = facts.value(QStringLiteral("height")).toInt();
  if (width > 0 && height > 0)
    figures << ResultView::tr("%1 × %2 pixels").arg(QLocale().toString(width), QLocale().toString(height));
  figures << QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
  const QString all = figures.join(QStringLiteral(", "));
  return facts.value(QStringLiteral("complete"), true).toBool() ? all : ResultView::tr("Not complete: %1").arg(all);
}

ResultView::ResultView(QWidget* parent)
    : QWidget(parent), mp_Picture(new QLabel), mp_Name(new ElidedLabel), mp_Figures(new QLabel) {
  setObjectName(QStringLiteral("result"));
  mp_Picture->setObjectName(QStringLiteral("resultPicture"));
  mp_Picture->setAlignment(Qt::AlignCenter);
  mp_Name->setObjectName(QStringLiteral("resultName"));
  QFont bold = font();
  bold.setBold(true);
  mp_Name->setFont(bold);
  mp_Figures->setObjectName(QStringLiteral("resultFigures"));
  mp_Figures->setWordWrap(true);
  auto* layout = new QGridLayout(this);
  layout->addWidget(mp_Picture, 0, 0, 1, 2);
  layout->addWidget(mp_Name, 1, 0, 1, 2);
  layout->addWidget(mp_Figures, 2, 0, 1, 2);
  addButton(tr("&Open"), "resultOpen", &ResultView::open);
  addButton(tr("Show in &Folder"), "resultFolder", &ResultView::showFolder);
  addButton(tr("&Copy"), "resultCopy", &ResultView::copy);
  addButton(tr("&Again"), "resultAgain", &ResultView::repeat)
      ->setToolTip(tr("The same once more, of what is shown now, in a new file"));
  for (int i = 0; i < m_Buttons.size(); ++i) layout->addWidget(m_Buttons[i], 3 + i / 2, i % 2);
  layout->setRowStretch(5, 1);
}

QPushButton* ResultView::addButton(const QString& text, const char* name, void (ResultView::*function)()) {
  auto* button = new QPushButton(text);
  button->setObjectName(QLatin1String(name));
  connect(button, &QPushButton::clicked, this, function);
  m_Buttons << button;
  return button;
}

void ResultView::follow(RunningCommand* run) {
  mp_Run = run;
  m_Call = run->call();
  m_File.clear();
  mp_Name->setText(run->title());
  mp_Name->setToolTip(run->files().join(QLatin1Char('\n')));
  mp_Figures->setText(tr("Is being made…"));
  showPreview(run->preview());
  for (QPushButton* button : m_Buttons) button->hide();
  connect(run, &RunningCommand::previewChanged, this, [this, run] {
    if (run == mp_Run) showPreview(run->preview());
  });
  connect(run, &RunningCommand::finished, this, [this, run] {
    if (run == mp_Run) showEnd(*run);
  });
}

void ResultView::showPreview(const QImage& picture) {
  mp_Picture->setVisible(!picture.isNull());
  if (!picture.isNull()) mp_Picture->setPixmap(onSquares(picture));
}

void ResultView::showEnd(const RunningCommand& run) {
  m_File = run.writtenFiles().value(0);
  const QFileInfo file(m_File);
  if (!m_File.isEmpty()) mp_Name->setText(file.fileName());
  mp_Figures->setText(m_File.isEmpty() ? tr("No file was made.") : figuresOf(run.facts(), file.size()));
  for (QPushButton* button : m_Buttons) button->setVisible(!m_File.isEmpty() || button == m_Buttons.last());
}

void ResultView::open() { openOnDesktop(m_File); }

void ResultView::showFolder() { showInFolder(m_File); }

void ResultView::copy() { copyFile(m_File); }

void ResultView::repeat() {
  if (m_Call) emit againRequested(CommandCall(*m_Call));
}

}  // namespace nubo::window
