#include "app/gui/FolderChooser.h"

#include "app/gui/MountPoints.h"
#include "core/MoveFiles.h"
#include "core/OperatorInterface.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

template <typename Widget> Widget* named(Widget* widget, const char* name)
{
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

// Keeps what the folder services would show in a box, to show it in the
// dialog instead.
class KeptMessages : public OperatorInterface {
public:
    void messageBox(const QString& text, const QString&, MessageIcon) override { texts.append(text); }
    void setProgressRange(int, int) override { }
    void setProgressValue(int) override { }
    void processEvents() override { }
    QStringList texts;
};

// The system's word for why the folder takes no files (permission, a
// read-only file system), for the operator to act on: the probe the check
// made, made again to hear the reason.
QString writeRefusalReason(const QString& folder)
{
    QFile probe(folder + QStringLiteral("quillph16.txt"));
    if (probe.open(QIODevice::WriteOnly)) {
        probe.close();
        probe.remove();
        return {};
    }
    return probe.errorString();
}

} // namespace

FolderChooser::FolderChooser(const QString& title, const QString& start, Use use, QWidget* parent)
    : QDialog(parent)
    , use_(use)
{
    setWindowTitle(title);
    mountPoints_ = named(new QComboBox(this), "mountPoints");
    mountPoints_->addItems(MountPoints());
    files_ = new QFileSystemModel(this);
    files_->setFilter(QDir::AllDirs | QDir::NoDotAndDotDot);
    files_->setReadOnly(false);
    files_->setRootPath(QStringLiteral("/"));
    tree_ = named(new QTreeView(this), "folderTree");
    tree_->setModel(files_);
    for (int column = 1; column < files_->columnCount(); ++column)
        tree_->hideColumn(column);
    tree_->header()->hide();
    tree_->setRootIndex(files_->index(QStringLiteral("/")));
    path_ = named(new QLineEdit(this), "path");
    refusal_ = named(new QLabel(this), "refusal");
    refusal_->setWordWrap(true);
    refusal_->setStyleSheet(QStringLiteral("color: #b01010"));
    refusal_->hide();

    auto* newFolder = named(new QPushButton(QStringLiteral("&New folder"), this), "newFolder");
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("C&hoose"));
    buttons->addButton(newFolder, QDialogButtonBox::ActionRole);

    auto* mountLabel = new QLabel(QStringLiteral("&Mount point:"), this);
    mountLabel->setBuddy(mountPoints_);
    auto* treeLabel = new QLabel(QStringLiteral("F&olders:"), this);
    treeLabel->setBuddy(tree_);
    auto* pathLabel = new QLabel(QStringLiteral("&Path:"), this);
    pathLabel->setBuddy(path_);
    auto* layout = new QVBoxLayout(this);
    auto* mountRow = new QHBoxLayout;
    mountRow->addWidget(mountLabel);
    mountRow->addWidget(mountPoints_, 1);
    layout->addLayout(mountRow);
    layout->addWidget(treeLabel);
    layout->addWidget(tree_, 1);
    auto* pathRow = new QHBoxLayout;
    pathRow->addWidget(pathLabel);
    pathRow->addWidget(path_, 1);
    layout->addLayout(pathRow);
    layout->addWidget(refusal_);
    layout->addWidget(buttons);
    resize(560, 520);

    connect(mountPoints_, &QComboBox::activated, this,
        [this](int index) { setCurrentFolder(mountPoints_->itemText(index)); });
    connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this,
        [this](const QModelIndex& current) {
            if (current.isValid())
                path_->setText(FolderServices::WithTrailingSlash(files_->filePath(current)));
        });
    connect(newFolder, &QPushButton::clicked, this, [this] { makeFolder(); });
    connect(buttons, &QDialogButtonBox::accepted, this, &FolderChooser::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    const QString absolute = QDir(start.isEmpty() ? QDir::homePath() : start).absolutePath();
    setCurrentFolder(QFileInfo(absolute).isDir() ? absolute : QDir::homePath());
    tree_->setFocus();
}

QString FolderChooser::currentFolder() const
{
    return FolderServices::WithTrailingSlash(QDir::cleanPath(QDir(path_->text().trimmed()).absolutePath()));
}

void FolderChooser::setCurrentFolder(const QString& folder)
{
    const QModelIndex index = files_->index(QDir::cleanPath(QDir(folder).absolutePath()));
    const QString path = FolderServices::WithTrailingSlash(QDir::cleanPath(QDir(folder).absolutePath()));
    path_->setText(path);
    // The mount point is the longest root the folder lies under.
    int mount = 0;
    for (int i = 0; i < mountPoints_->count(); ++i) {
        if (path.startsWith(mountPoints_->itemText(i))
            && mountPoints_->itemText(i).size() > mountPoints_->itemText(mount).size())
            mount = i;
    }
    mountPoints_->setCurrentIndex(mount);
    if (!index.isValid())
        return;
    tree_->setCurrentIndex(index);
    tree_->expand(index);
    tree_->scrollTo(index, QAbstractItemView::PositionAtCenter);
}

QString FolderChooser::refusal() const
{
    return refusal_->isHidden() ? QString() : refusal_->text();
}

// The path box is what counts, so a folder typed there is accepted as well
// as one picked in the tree.
void FolderChooser::accept()
{
    QString folder = currentFolder();
    KeptMessages messages;
    const bool usable = use_ == Use::Write ? FolderServices::CheckWriteAccess(messages, folder)
                                           : FolderServices::CheckReadAccess(messages, folder);
    if (!usable) {
        QString text = messages.texts.join(QLatin1Char(' '));
        if (const QString reason = writeRefusalReason(folder);
            use_ == Use::Write && !reason.isEmpty() && QFileInfo(folder).isDir())
            text += QStringLiteral(" (%1)").arg(reason);
        refusal_->setText(text);
        refusal_->show();
        return;
    }
    refusal_->clear();
    refusal_->hide();
    folder_ = FolderServices::WithTrailingSlash(folder);
    QDialog::accept();
}

void FolderChooser::makeFolder()
{
    const QString parent = currentFolder();
    bool given = false;
    const QString name = QInputDialog::getText(this, QStringLiteral("New folder"),
        QStringLiteral("New folder in %1:").arg(parent), QLineEdit::Normal, {}, &given)
                             .trimmed();
    if (!given || name.isEmpty())
        return;
    QString reason;
    if (name.contains(QLatin1Char('/')) || !FolderServices::MakeFolder(parent + name, &reason)) {
        refusal_->setText(
            QStringLiteral("Cannot make %1%2: %3")
                .arg(parent, name, reason.isEmpty() ? QStringLiteral("a name holds no \"/\"") : reason));
        refusal_->show();
        return;
    }
    setCurrentFolder(parent + name);
}
