#include "nubo/window/parameters/parameterdialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <algorithm>

#include "kernel/main/overseer.h"
#include "nubo/cli/runsettings.h"
#include "nubo/window/look/owntext.h"
#include "nubo/window/parameters/parametereditor.h"
#include "nubo/window/parameters/parameterpage.h"
#include "nubo/window/parameters/settingsfold.h"

namespace nubo::window {

namespace {

QString titleOf(const main::ParameterSet& set) {
  if (!set.getName().isEmpty()) return ownText(set.getName());
  QStringList names;
  for (const main::AbstractParameter* parameter : set.parameters()) names << parameter->getName();
  return names.join(QStringLiteral(", "));
}

/// Scrolls up and down only: so wide that this will do.
class FormArea : public QScrollArea {
 public:
  explicit FormArea(QWidget* form) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidget(form);
  }
  QSize minimumSizeHint() const override {
    const int width = widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width();
    return {width, QScrollArea::minimumSizeHint().height()};
  }
};

}  // namespace

ParameterDialog::ParameterDialog(main::Command& command, const QString& title, QWidget* parent)
    : QDialog(parent),
      m_Command(command),
      mp_Form(new QWidget),
      mp_Choice(new QComboBox),
      mp_AllViews(new QCheckBox),
      mp_Buttons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel)) {
  setWindowTitle(title);
  setObjectName(QStringLiteral("parameters"));
  createForm();
  auto* layout = new QVBoxLayout(this);
  // A dock may have little room: the buttons stay in sight there.
  layout->addWidget(framesView() ? new FormArea(mp_Form) : mp_Form);
  layout->addWidget(mp_Buttons);
  const bool storesSettings = dynamic_cast<main::SettingsCommand*>(&command);
  mp_Buttons->button(QDialogButtonBox::Ok)->setText(storesSettings ? tr("&Save") : tr("&Start"));
  connect(mp_Buttons, &QDialogButtonBox::accepted, this, &ParameterDialog::accept);
  connect(mp_Buttons, &QDialogButtonBox::rejected, this, &ParameterDialog::reject);
  choose(mp_Choice->currentIndex());
  chosenPage()->setFocus();
}

void ParameterDialog::createForm() {
  auto* layout = new QVBoxLayout(mp_Form);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(createChoice());
  for (const main::ParameterSet& set : m_Command.getParameterSets()) {
    m_Pages << new ParameterPage(m_Command, set, framesView(), this);
    layout->addWidget(m_Pages.last());
    connect(m_Pages.last(), &ParameterPage::remarksChanged, this, &ParameterDialog::fitHeight);
    connect(m_Pages.last(), &ParameterPage::remarksChanged, this, &ParameterDialog::valuesChanged);
    connect(m_Pages.last(), &ParameterPage::shapeChosen, this, &ParameterDialog::shapeChosen);
  }
  addSettings(layout);
  mp_AllViews->setObjectName(QStringLiteral("allViews"));
  mp_AllViews->hide();
  connect(mp_AllViews, &QCheckBox::toggled, this, [this](bool all) { chosenPage()->setPlaceForView(all); });
  layout->addWidget(mp_AllViews);
  layout->addStretch();
}

int ParameterDialog::wholeHeight(int width) const {
  const QMargins margins = layout()->contentsMargins();
  // While it is scrolled it is narrower, and so higher.
  const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
  const int form = mp_Form->layout()->heightForWidth(width - margins.left() - margins.right() - bar);
  return margins.top() + form + layout()->spacing() + mp_Buttons->sizeHint().height() + margins.bottom();
}

void ParameterDialog::addSettings(QVBoxLayout* layout) {
  for (main::Command* settings : app::settingsCommandsOf(m_Command)) {
    if (settings->getParameterSets().empty()) continue;
    m_Settings << new SettingsFold(*settings, framesView(), this);
    layout->addWidget(m_Settings.last());
    connect(m_Settings.last(), &SettingsFold::stored, this, &ParameterDialog::refresh);
    connect(m_Settings.last(), &SettingsFold::folded, this, &ParameterDialog::fitHeight);
  }
}

/// Of this fold and those after it; then the dialog is done.
void ParameterDialog::finishSettings(int fold) {
  if (fold < m_Settings.size()) {
    m_Settings[fold]->finish([this, fold] { finishSettings(fold + 1); });
    return;
  }
  if (ParameterEditor* bad = chosenPage()->check()) return bad->setFocus();
  chosenPage()->remember();
  if (m_Pages.size() > 1) main::nuboSettings()->setValue(settingsKey(), mp_Choice->currentData());
  QDialog::accept();
}

QWidget* ParameterDialog::createChoice() {
  auto* line = new QWidget;
  auto* layout = new QHBoxLayout(line);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* label = new QLabel(tr("&Variant:"));
  label->setBuddy(mp_Choice);
  layout->addWidget(label);
  layout->addWidget(mp_Choice, 1);
  mp_Choice->setObjectName(QStringLiteral("parameterSets"));
  for (const main::ParameterSet& set : m_Command.getParameterSets()) mp_Choice->addItem(titleOf(set), set.getID());
  mp_Choice->setCurrentIndex(qMax(0, mp_Choice->findData(main::nuboSettings()->value(settingsKey()).toInt())));
  connect(mp_Choice, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &ParameterDialog::choose);
  if (mp_Choice->count() < 2) line->hide();
  return line;
}

void ParameterDialog::choose(int index) {
  for (int i = 0; i < m_Pages.size(); ++i) m_Pages[i]->setVisible(i == index);
  fitHeight();
  emit valuesChanged();
}

void ParameterDialog::offerViews(int count) {
  mp_AllViews->setText(tr("&Grab all %n saved views", "", count));
  mp_AllViews->setVisible(count > 0 && framesView());
}

bool ParameterDialog::isForAllViews() const { return mp_AllViews->isChecked(); }

bool ParameterDialog::framesView() const {
  const auto& sets = m_Command.getParameterSets();
  return std::any_of(sets.begin(), sets.end(), [](const main::ParameterSet& set) { return set.framesView(); });
}

main::ParameterSet::Frame ParameterDialog::frame() const { return chosenPage()->frame(); }

void ParameterDialog::focusFirst() { chosenPage()->setFocus(); }

void ParameterDialog::refresh() { chosenPage()->refresh(); }

void ParameterDialog::fitHeight() {
  if (!isVisible() || !isWindow()) return;
  layout()->activate();
  resize(width(), qMax(height(), layout()->heightForWidth(width())));
}

ParameterPage* ParameterDialog::chosenPage() const { return m_Pages[mp_Choice->currentIndex()]; }

QString ParameterDialog::settingsKey() const { return QStringLiteral("window/sets/") + m_Command.getName(); }

void ParameterDialog::accept() {
  if (ParameterEditor* bad = chosenPage()->check()) return bad->setFocus();
  finishSettings(0);
}

void ParameterDialog::done(int result) {
  emit ending();
  QDialog::done(result);
}

void ParameterDialog::setBusyFiles(const QStringList& files) {
  for (ParameterPage* page : m_Pages) page->setBusyFiles(files);
}

main::ParameterSet ParameterDialog::values() const { return chosenPage()->values(); }

}  // namespace nubo::window
