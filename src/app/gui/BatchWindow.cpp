#include "app/gui/BatchWindow.h"

#include "app/RunState.h"
#include "app/gui/FindingsViewer.h"
#include "app/gui/FolderChooser.h"
#include "app/gui/MountPoints.h"
#include "app/gui/WindowOperator.h"
#include "core/MoveFiles.h"
#include "core/RunAborted.h"
#include "report/FindingOutputs.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const QString kParentEntry = QStringLiteral("..");

QString absoluteFolder(const QString& folder)
{
    return FolderServices::WithTrailingSlash(QDir(folder).absolutePath());
}

template <typename Widget> Widget* named(Widget* widget, const char* name)
{
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

} // namespace

BatchWindow::BatchWindow(RunState& state, WindowOperator* windowOperator)
    : state_(state)
{
    setWindowTitle(kProgramTitle);
    buildControls();
    buildLayout();
    connectControls();
    if (windowOperator)
        windowOperator->setWindow(this, pbar_);

    // Every start shows the configured paths, never what an earlier session typed.
    TxtTempPath_->setText(state_.config.WorkPath);
    TxtOutputPath_->setText(state_.config.OutputPath);
    fillDriveList();
    const QString configured = state_.config.InputPath;
    setFolderPath(!configured.isEmpty() && QFileInfo(configured).isDir() ? configured : QDir::homePath());
}

void BatchWindow::buildControls()
{
    drvInput_ = named(new QComboBox(this), "drvInput");
    folderLabel_ = named(new QLabel(this), "folderLabel");
    folderLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    folderLabel_->setWordWrap(true);
    dirInput_ = named(new QListWidget(this), "dirInput");
    allocateButton_ = named(new QPushButton(QStringLiteral("Get &next allocated"), this), "allocateButton");
    searchBox_ = named(new QLineEdit(this), "searchBox");
    searchBox_->setPlaceholderText(QStringLiteral("part of a name, then Enter"));
    searchBox_->setClearButtonEnabled(true);
    selectAll_ = named(new QCheckBox(QStringLiteral("Select &All"), this), "selectAll");
    entryList_ = named(new QListWidget(this), "entryList");
    entryList_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    TxtTaskCode_ = named(new QLineEdit(this), "taskCodeBox");
    TxtTempPath_ = named(new QLineEdit(this), "tempPathBox");
    TxtOutputPath_ = named(new QLineEdit(this), "outputPathBox");
    processButton_ = named(new QPushButton(QStringLiteral("&PROCESS"), this), "processButton");
    exitButton_ = named(new QPushButton(QStringLiteral("E&XIT"), this), "exitButton");
    pbar_ = named(new QProgressBar(this), "pbar");
    progressLabel_ = named(new QLabel(this), "progressLabel");
    pbar_->setVisible(false);
    progressLabel_->setVisible(false);
    const auto chooseButton = [this](const char* name, const QString& what) {
        auto* button = named(new QPushButton(QStringLiteral("..."), this), name);
        button->setToolTip(QStringLiteral("Choose the %1").arg(what));
        button->setAccessibleName(button->toolTip());
        button->setFixedWidth(button->fontMetrics().horizontalAdvance(QStringLiteral("...")) + 28);
        return button;
    };
    chooseInput_ = chooseButton("chooseInputFolder", QStringLiteral("input folder"));
    chooseWork_ = chooseButton("chooseWorkPath", QStringLiteral("working folder"));
    chooseOutput_ = chooseButton("chooseOutputPath", QStringLiteral("output folder"));
    viewFindings_ = named(new QPushButton(QStringLiteral("&View findings"), this), "viewFindings");
    viewFindings_->setEnabled(false);
    viewFindings_->setToolTip(QStringLiteral("The findings of the latest PROCESS, beside their inputs"));
}

void BatchWindow::buildLayout()
{
    auto* folderBox = new QGroupBox(QStringLiteral("Input folder"), this);
    auto* folderLayout = new QVBoxLayout(folderBox);
    auto* driveRow = new QHBoxLayout;
    auto* driveLabel = new QLabel(QStringLiteral("&Drive:"), folderBox);
    driveLabel->setBuddy(drvInput_);
    driveRow->addWidget(driveLabel);
    driveRow->addWidget(drvInput_, 1);
    folderLayout->addLayout(driveRow);
    auto* dirLabel = new QLabel(QStringLiteral("&Folder (Enter opens):"), folderBox);
    dirLabel->setBuddy(dirInput_);
    folderLayout->addWidget(dirLabel);
    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(folderLabel_, 1);
    folderRow->addWidget(chooseInput_);
    folderLayout->addLayout(folderRow);
    folderLayout->addWidget(dirInput_, 1);
    folderLayout->addWidget(allocateButton_);

    auto* listBox = new QGroupBox(this);
    auto* listLayout = new QVBoxLayout(listBox);
    auto* searchRow = new QHBoxLayout;
    auto* searchLabel = new QLabel(QStringLiteral("&Search:"), listBox);
    searchLabel->setBuddy(searchBox_);
    searchRow->addWidget(searchLabel);
    searchRow->addWidget(searchBox_, 1);
    searchRow->addWidget(selectAll_);
    listLayout->addLayout(searchRow);
    listLabel_ = new QLabel(listBox);
    listLabel_->setBuddy(entryList_);
    listLayout->addWidget(listLabel_);
    listLayout->addWidget(entryList_, 1);
    listBox->setTitle(ListsFiles(state_.config) ? QStringLiteral("Files") : QStringLiteral("Folders"));
    listLabel_->setText(ListsFiles(state_.config)
            ? QStringLiteral("F&iles to validate:")
            : QStringLiteral("Fo&lders to validate (with everything below):"));

    auto* settings = new QFormLayout;
    settings->addRow(QStringLiteral("&Task code:"), TxtTaskCode_);
    // Each path box with the button that picks its folder from a tree.
    for (const auto& [text, field, button] : { std::tuple { "&Working path:", TxtTempPath_, chooseWork_ },
             std::tuple { "&Output path:", TxtOutputPath_, chooseOutput_ } }) {
        auto* row = new QHBoxLayout;
        row->addWidget(field, 1);
        row->addWidget(button);
        auto* label = new QLabel(QString::fromLatin1(text), this);
        label->setBuddy(field);
        settings->addRow(label, row);
    }

    auto* bottom = new QHBoxLayout;
    auto* progress = new QVBoxLayout;
    progress->addWidget(progressLabel_);
    progress->addWidget(pbar_);
    bottom->addLayout(progress, 1);
    bottom->addWidget(viewFindings_);
    bottom->addWidget(processButton_);
    bottom->addWidget(exitButton_);
    processButton_->setMinimumWidth(110);
    exitButton_->setMinimumWidth(90);

    auto* columns = new QHBoxLayout;
    columns->addWidget(folderBox, 1);
    columns->addWidget(listBox, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(columns, 1);
    layout->addLayout(settings);
    layout->addLayout(bottom);
    resize(780, 540);

    // In the order the operator fills the window in.
    QWidget* order[] = { drvInput_, chooseInput_, dirInput_, allocateButton_, searchBox_, selectAll_,
        entryList_, TxtTaskCode_, TxtTempPath_, chooseWork_, TxtOutputPath_, chooseOutput_, viewFindings_,
        processButton_, exitButton_ };
    for (std::size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);
}

void BatchWindow::connectControls()
{
    connect(drvInput_, &QComboBox::activated, this, [this](int index) { driveChosen(index); });
    // Enter and a double click both activate the highlighted folder.
    connect(
        dirInput_, &QListWidget::itemActivated, this, [this](QListWidgetItem* item) { openFolder(item); });
    // clicked, not toggled: setting the box from the list must not select anything.
    connect(selectAll_, &QCheckBox::clicked, this, [this](bool checked) { selectAll(checked); });
    connect(entryList_, &QListWidget::itemSelectionChanged, this, [this] { refreshSelectionState(); });
    connect(searchBox_, &QLineEdit::textEdited, this, [this] { search(); });
    connect(searchBox_, &QLineEdit::returnPressed, this, [this] { search(); });
    connect(allocateButton_, &QPushButton::clicked, this, [this] { allocate(); });
    connect(processButton_, &QPushButton::clicked, this, [this] { process(); });
    connect(exitButton_, &QPushButton::clicked, this, [this] { close(); });
    connect(chooseInput_, &QPushButton::clicked, this, [this] { chooseInputFolder(); });
    connect(chooseWork_, &QPushButton::clicked, this,
        [this] { chooseFolder(TxtTempPath_, QStringLiteral("Working folder: where the reports go")); });
    connect(chooseOutput_, &QPushButton::clicked, this,
        [this] { chooseFolder(TxtOutputPath_, QStringLiteral("Output folder: where the copies go")); });
    connect(viewFindings_, &QPushButton::clicked, this, [this] { showFindings(); });
}

void BatchWindow::fillDriveList()
{
    drvInput_->clear();
    drvInput_->addItems(MountPoints());
}

void BatchWindow::setFolderPath(const QString& folder)
{
    folderPath_ = absoluteFolder(folder);
    // The drive is the mounted file system that holds the folder: the longest root it starts with.
    int best = -1;
    for (int i = 0; i < drvInput_->count(); ++i) {
        const QString root = drvInput_->itemText(i);
        if (folderPath_.startsWith(root) && (best < 0 || root.size() > drvInput_->itemText(best).size()))
            best = i;
    }
    drvInput_->setCurrentIndex(best);
    folderLabel_->setText(folderPath_);
    fillFolderList();
    fillFileList();
}

void BatchWindow::fillFolderList()
{
    dirInput_->clear();
    if (folderPath_ != u"/")
        dirInput_->addItem(kParentEntry);
    dirInput_->addItems(QDir(folderPath_).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name));
    if (dirInput_->count() > 0)
        dirInput_->setCurrentRow(0);
}

void BatchWindow::fillFileList()
{
    entryList_->clear();
    entryList_->addItems(BatchListEntries(state_.config, folderPath_));
    refreshSelectionState();
}

void BatchWindow::openFolder(QListWidgetItem* item)
{
    if (!item)
        return;
    const QString name = item->text();
    setFolderPath(name == kParentEntry ? QDir::cleanPath(folderPath_ + kParentEntry) : folderPath_ + name);
}

void BatchWindow::driveChosen(int index)
{
    if (index >= 0)
        setFolderPath(drvInput_->itemText(index));
}

void BatchWindow::selectAll(bool checked)
{
    if (checked)
        entryList_->selectAll();
    else
        entryList_->clearSelection();
}

void BatchWindow::refreshSelectionState()
{
    const int count = entryList_->count();
    // An empty list has nothing selected, so the box stays clear.
    selectAll_->setChecked(count > 0 && entryList_->selectedItems().size() == count);
}

void BatchWindow::search()
{
    const QString text = searchBox_->text();
    // Clearing the box leaves the selection as it is, rather than selecting everything.
    if (text.isEmpty())
        return;
    entryList_->clearSelection();
    QListWidgetItem* first = nullptr;
    for (int i = 0; i < entryList_->count(); ++i) {
        QListWidgetItem* item = entryList_->item(i);
        if (!item->text().contains(text, Qt::CaseInsensitive))
            continue;
        item->setSelected(true);
        if (!first)
            first = item;
    }
    if (first) {
        entryList_->setCurrentItem(first, QItemSelectionModel::NoUpdate);
        entryList_->scrollToItem(first);
    }
}

void BatchWindow::allocate()
{
    const AllocatedFolder next = NextAllocatedFolder(state_.config, folderPath_);
    if (next.folder.isEmpty()) {
        state_.ui.messageBox(next.errorText, QStringLiteral("ERROR"), MessageIcon::Information);
        return;
    }
    setFolderPath(next.folder);
}

void BatchWindow::process()
{
    BatchRequest request;
    request.inputFolder = folderPath_;
    for (int i = 0; i < entryList_->count(); ++i) {
        if (entryList_->item(i)->isSelected())
            request.selected.append(entryList_->item(i)->text());
    }
    request.taskCode = TxtTaskCode_->text();
    request.workPath = TxtTempPath_->text();
    request.outputPath = TxtOutputPath_->text();
    // The findings as the run hands them on, routines and whole messages
    // included, for the viewer; no file is written from them.
    FindingOutputs collected(kProgramTitle, QString(), {});
    state_.findingSinks.subscribe(collected);
    try {
        const int status = RunBatch(state_, request, *this);
        state_.findingSinks.unsubscribe(collected);
        // A refused PROCESS (nothing selected) ran nothing: the last batch's status stands.
        if (status == ExitStatus::Refused)
            return;
        exitStatus_ = status;
        lastRun_ = RecordedRunOf(collected.run());
        lastWorkPath_ = request.workPath;
        hasRun_ = true;
        viewFindings_->setEnabled(true);
        if (lastRun_.findingCount() > 0)
            showFindings();
    } catch (const RunAborted& aborted) {
        state_.findingSinks.unsubscribe(collected);
        // An unexpected failure ends the program; the reports written so far stay.
        exitStatus_ = aborted.exitStatus();
        close();
    }
}

void BatchWindow::showFindings()
{
    // One viewer, of the latest batch.
    if (viewer_)
        viewer_->close();
    viewer_ = new FindingsViewer(lastRun_, ViewerSettingsOf(state_.config),
        QStringLiteral("the batch into %1").arg(lastWorkPath_), this);
    viewer_->setAttribute(Qt::WA_DeleteOnClose);
    viewer_->show();
    viewer_->activateWindow();
}

FindingsViewer* BatchWindow::findingsViewer() const
{
    return viewer_;
}

void BatchWindow::chooseInputFolder()
{
    FolderChooser chooser(QStringLiteral("Input folder"), folderPath_, FolderChooser::Use::Read, this);
    if (chooser.exec() == QDialog::Accepted)
        setFolderPath(chooser.folder());
}

// The box gets the folder and the run takes it from the box, as when typed.
void BatchWindow::chooseFolder(QLineEdit* field, const QString& title)
{
    FolderChooser chooser(title, field->text(), FolderChooser::Use::Write, this);
    if (chooser.exec() == QDialog::Accepted)
        field->setText(chooser.folder());
}

void BatchWindow::setInputsEnabled(bool enabled)
{
    // Search and "Get next allocated" would change the list and the folder
    // that the running batch came from, so they wait too.
    for (QWidget* control : std::initializer_list<QWidget*> { drvInput_, dirInput_, entryList_, selectAll_,
             TxtTaskCode_, TxtTempPath_, TxtOutputPath_, processButton_, exitButton_, searchBox_,
             allocateButton_, chooseInput_, chooseWork_, chooseOutput_ })
        control->setEnabled(enabled);
    viewFindings_->setEnabled(enabled && hasRun_);
}

void BatchWindow::batchStarted()
{
    running_ = true;
    setInputsEnabled(false);
    pbar_->setValue(0);
    pbar_->setVisible(true);
    progressLabel_->setVisible(true);
}

void BatchWindow::fileStarted(int number, int total, const QString& inputPath)
{
    progressLabel_->setText(QStringLiteral("File %1 of %2: %3").arg(number).arg(total).arg(inputPath));
    state_.ui.processEvents();
}

void BatchWindow::batchFinished()
{
    pbar_->setVisible(false);
    progressLabel_->setVisible(false);
    progressLabel_->clear();
    setInputsEnabled(true);
    running_ = false;
    refreshSelectionState();
}

void BatchWindow::closeEvent(QCloseEvent* event)
{
    // Closing mid-batch would leave half-written reports behind.
    if (running_) {
        event->ignore();
        return;
    }
    if (!ended_) {
        ended_ = true;
        EndBatchSession(state_);
        QApplication::exit(exitStatus_);
    }
    event->accept();
}
