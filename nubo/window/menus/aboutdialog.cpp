#include "nubo/window/menus/aboutdialog.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QScreen>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "kernel/main/modulemanager.h"
#include "module_scene/io/readertable.h"
#include "nubo/window/look/icons.h"
#include "nubo/window/look/owntext.h"

namespace nubo::window {

namespace {

constexpr int MostWidth = 190;  // of a column; what it cuts off is in the tool tip

QTreeWidgetItem* addItem(QTreeWidgetItem* parent, const QStringList& texts) {
  auto* item = new QTreeWidgetItem(parent, texts);
  for (int column = 0; column < texts.size(); ++column) item->setToolTip(column, texts[column]);
  return item;
}

}  // namespace

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
  setObjectName(QStringLiteral("about"));
  setWindowTitle(tr("About nubo"));
  auto* text = new QLabel(tr("<h2>nubo %1</h2><p>Shows 3-D models and takes pictures and videos of them, at any "
                             "size.</p><p>Built on Qt %2.</p>")
                              .arg(QCoreApplication::applicationVersion(), QString::fromLatin1(qVersion())));
  auto* tree = new QTreeWidget;
  tree->setHeaderLabels({tr("Module or Library"), tr("Version"), tr("Licence"), tr("Where From")});
  tree->setAccessibleName(tr("Modules and libraries"));
  addModules(tree);
  addReaders(tree);
  tree->expandAll();
  for (int column = 0; column < 3; ++column) {
    tree->resizeColumnToContents(column);
    tree->setColumnWidth(column, qMin(tree->columnWidth(column), MostWidth));
  }
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  auto* icon = new QLabel;
  icon->setPixmap(productIcon().pixmap(64));
  auto* head = new QHBoxLayout;
  head->addWidget(icon, 0, Qt::AlignTop);
  head->addWidget(text, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(head);
  layout->addWidget(tree);
  layout->addWidget(buttons);
  resize(QSize(680, 420).boundedTo(screen()->availableSize() * 0.9));
}

void AboutDialog::addModules(QTreeWidget* tree) const {
  const main::ModuleManager* modules = main::ModuleManager::getInstance();
  for (const QString& name : modules->names()) {
    main::InformationObject* information = modules->getModule(name)->getInformationObject();
    auto* module = new QTreeWidgetItem(tree, {tr("Module %1").arg(name)});
    module->setIcon(0, information->getIcon());
    module->setText(3, information->getHomepage().toString());
    addItem(module, {ownText(information->getDescription())})->setFirstColumnSpanned(true);
    for (const main::ThirdPartyInfos& library : *information->getAdditionalInformations())
      addItem(module, {library.name, library.version, library.licence, library.url});
  }
}

void AboutDialog::addReaders(QTreeWidget* tree) const {
  for (const io::ReaderEntry& reader : io::readerTable()) {
    auto* item = new QTreeWidgetItem(tree, {tr("Reader %1").arg(reader.name)});
    QStringList formats;
    for (const io::ReaderFormat& format : reader.formats) formats << format.description;
    addItem(item, {formats.join(QStringLiteral(", "))})->setFirstColumnSpanned(true);
    for (const io::ReaderLicence& library : reader.licences)
      addItem(item, {library.name, library.version, library.licence, library.url});
  }
}

}  // namespace nubo::window
