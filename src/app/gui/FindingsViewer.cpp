#include "app/gui/FindingsViewer.h"

#include "app/gui/EditorProgram.h"
#include "app/gui/FindingsModel.h"
#include "app/gui/SourceView.h"
#include "core/Configuration.h"
#include "core/OperatorInterface.h"
#include "text/SourceText.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QSignalBlocker>
#include <QSplitter>
#include <QTabWidget>
#include <QTableView>
#include <QThread>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

template <typename Widget> Widget* named(Widget* widget, const char* name)
{
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

QTreeWidget* countTree(const QString& firstHeading, QWidget* parent)
{
    auto* tree = new QTreeWidget(parent);
    tree->setHeaderLabels({ firstHeading, QStringLiteral("Errors"), QStringLiteral("Warnings") });
    tree->setRootIsDecorated(false);
    tree->setSortingEnabled(true);
    tree->header()->setStretchLastSection(false);
    tree->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    return tree;
}

void addCount(QTreeWidget* tree, const FindingsModel::Count& count, const QVariant& filterValue)
{
    auto* item = new QTreeWidgetItem(tree);
    item->setText(0, count.name.isEmpty() ? QStringLiteral("(none)") : count.name);
    // Numbers sort as numbers.
    item->setData(1, Qt::DisplayRole, count.errors);
    item->setData(2, Qt::DisplayRole, count.warnings);
    item->setData(0, Qt::UserRole, filterValue);
}

} // namespace

ViewerSettings ViewerSettingsOf(const Configuration& config)
{
    return { config.Utf8Input, config.EditorProgram.trimmed(), config.ApplicationPath };
}

FindingsViewer::FindingsViewer(
    RecordedRun run, ViewerSettings settings, const QString& origin, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , settings_(std::move(settings))
    , model_(new FindingsModel(this))
{
    model_->setRun(std::move(run));
    buildControls(origin);
    buildLayout();
    fillFilters();
    fillCounts();
    applyFilter();
    if (model_->rowCount() > 0)
        table_->setCurrentIndex(model_->index(0, 0));
    QStringList notes = model_->run().notes;
    if (!model_->run().routinesKnown)
        notes.prepend(QStringLiteral("The reports name no routines and cut long messages short; a --json "
                                     "document of the run has both."));
    setStatus(notes.join(QLatin1Char(' ')));
}

FindingsViewer::~FindingsViewer()
{
    // A reader still going holds the file, not this window: let it end.
    for (QThread* loader : std::as_const(loaders_)) {
        loader->wait();
        delete loader;
    }
}

void FindingsViewer::buildControls(const QString& origin)
{
    setWindowTitle(QStringLiteral("%1: findings of %2").arg(kProgramTitle, origin));
    fileFilter_ = named(new QComboBox(this), "fileFilter");
    kindFilter_ = named(new QComboBox(this), "kindFilter");
    routineFilter_ = named(new QComboBox(this), "routineFilter");
    search_ = named(new QLineEdit(this), "search");
    search_->setPlaceholderText(QStringLiteral("text in the message, data, routine or file name"));
    search_->setClearButtonEnabled(true);
    searchDelay_ = new QTimer(this);
    searchDelay_->setSingleShot(true);
    searchDelay_->setInterval(200);
    shownCount_ = named(new QLabel(this), "shownCount");
    shownCount_->setToolTip(QStringLiteral("Findings shown of all the run's findings"));

    table_ = named(new QTableView(this), "findings");
    table_->setModel(model_);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::SingleSelection);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setWordWrap(false);
    table_->verticalHeader()->hide();
    // A fixed row height: a hundred thousand rows are never measured.
    table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + 6);
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    table_->setSortingEnabled(true);
    const int widths[] = { 130, 60, 55, 65, 150, 300 };
    for (int column = 0; column < int(std::size(widths)); ++column)
        table_->setColumnWidth(column, widths[column]);

    fileCounts_ = named(countTree(QStringLiteral("File"), this), "fileCounts");
    routineCounts_ = named(countTree(QStringLiteral("Routine"), this), "routineCounts");
    findingLabel_ = named(new QLabel(this), "findingLabel");
    findingLabel_->setWordWrap(true);
    findingLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    sourceLabel_ = named(new QLabel(this), "sourceLabel");
    sourceLabel_->setWordWrap(true);
    sourceLabel_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    source_ = named(new SourceView(this), "source");
    source_->setNotice(QStringLiteral("Select a finding to see it in its input."));
    status_ = named(new QLabel(this), "status");
    status_->setWordWrap(true);

    connect(fileFilter_, &QComboBox::currentIndexChanged, this, [this] { applyFilter(); });
    connect(kindFilter_, &QComboBox::currentIndexChanged, this, [this] { applyFilter(); });
    connect(routineFilter_, &QComboBox::currentIndexChanged, this, [this] { applyFilter(); });
    // Typing filters after a pause; Enter filters at once.
    connect(search_, &QLineEdit::textChanged, searchDelay_, qOverload<>(&QTimer::start));
    connect(searchDelay_, &QTimer::timeout, this, [this] { applyFilter(); });
    connect(search_, &QLineEdit::returnPressed, this, [this] {
        searchDelay_->stop();
        applyFilter();
        table_->setFocus();
    });
    connect(table_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
        [this](const QModelIndex& current) {
            if (current.isValid())
                showFinding(current.row());
        });
    // A new filter or order starts at its first finding.
    connect(model_, &QAbstractItemModel::modelReset, this, [this] {
        if (model_->rowCount() > 0)
            table_->setCurrentIndex(model_->index(0, 0));
    });
    // Enter and a double click both activate a row.
    connect(table_, &QAbstractItemView::activated, this, [this] { openCurrentInEditor(); });
    connect(fileCounts_, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) {
        fileFilter_->setCurrentIndex(fileFilter_->findData(item->data(0, Qt::UserRole)));
    });
    connect(routineCounts_, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) {
        routineFilter_->setCurrentIndex(routineFilter_->findData(item->data(0, Qt::UserRole)));
    });
    connect(new QShortcut(QKeySequence::Find, this), &QShortcut::activated, this, [this] {
        search_->setFocus();
        search_->selectAll();
    });
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
}

void FindingsViewer::buildLayout()
{
    auto* filters = new QHBoxLayout;
    const std::pair<const char*, QWidget*> labelled[] = { { "&File:", fileFilter_ },
        { "&Kind:", kindFilter_ }, { "&Routine:", routineFilter_ }, { "&Search:", search_ } };
    for (const auto& [text, control] : labelled) {
        auto* label = new QLabel(QString::fromLatin1(text), this);
        label->setBuddy(control);
        filters->addWidget(label);
        filters->addWidget(control, control == search_ ? 2 : 1);
    }
    shownCount_->setBuddy(table_);
    filters->addWidget(shownCount_);

    counts_ = new QTabWidget(this);
    auto* counts = counts_;
    counts->addTab(fileCounts_, QStringLiteral("Per fi&le"));
    counts->addTab(routineCounts_, QStringLiteral("Per r&outine"));
    auto* listSide = new QSplitter(Qt::Vertical, this);
    listSide->addWidget(table_);
    listSide->addWidget(counts);
    listSide->setStretchFactor(0, 3);
    listSide->setStretchFactor(1, 1);

    auto* textSide = new QWidget(this);
    auto* textLayout = new QVBoxLayout(textSide);
    textLayout->setContentsMargins(0, 0, 0, 0);
    textLayout->addWidget(findingLabel_);
    auto* textLabel = new QLabel(QStringLiteral("&Text:"), textSide);
    textLabel->setBuddy(source_);
    auto* textHeading = new QHBoxLayout;
    textHeading->addWidget(textLabel);
    textHeading->addWidget(sourceLabel_, 1);
    textLayout->addLayout(textHeading);
    textLayout->addWidget(source_, 1);

    auto* sides = new QSplitter(Qt::Horizontal, this);
    sides->addWidget(listSide);
    sides->addWidget(textSide);
    sides->setStretchFactor(0, 3);
    sides->setStretchFactor(1, 2);

    auto* closeButton = named(new QPushButton(QStringLiteral("&Close"), this), "close");
    connect(closeButton, &QPushButton::clicked, this, &QWidget::close);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(status_, 1);
    bottom->addWidget(closeButton);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(filters);
    layout->addWidget(sides, 1);
    layout->addLayout(bottom);

    QWidget* order[]
        = { fileFilter_, kindFilter_, routineFilter_, search_, table_, counts, source_, closeButton };
    for (std::size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);
    table_->setFocus();

    // Room for the list and the text side by side, within a 1366x768 screen.
    QSize size(1240, 700);
    if (const QScreen* screen = QGuiApplication::primaryScreen())
        size = size.boundedTo(screen->availableGeometry().size() * 0.92);
    resize(size);
}

void FindingsViewer::fillFilters()
{
    // Filled as a whole before any of them filters.
    const QSignalBlocker blockFiles(fileFilter_), blockKinds(kindFilter_), blockRoutines(routineFilter_);
    const RecordedRun& run = model_->run();
    fileFilter_->addItem(QStringLiteral("All files (%1 findings)").arg(model_->findingCount()), -1);
    for (int i = 0; i < int(run.files.size()); ++i) {
        const FindingsModel::Count& count = model_->countsByFile()[i];
        fileFilter_->addItem(QStringLiteral("%1 (%2)").arg(count.name).arg(count.errors + count.warnings), i);
    }
    kindFilter_->addItem(QStringLiteral("Errors and warnings"), -1);
    kindFilter_->addItem(QStringLiteral("Errors"), int(FindingKind::Error));
    kindFilter_->addItem(QStringLiteral("Warnings"), int(FindingKind::Warning));
    routineFilter_->addItem(QStringLiteral("All routines"), QString());
    for (const FindingsModel::Count& count : model_->countsByRoutine())
        routineFilter_->addItem(
            QStringLiteral("%1 (%2)").arg(count.name).arg(count.errors + count.warnings), count.name);
    if (!run.routinesKnown) {
        table_->hideColumn(FindingsModel::RoutineColumn);
        counts_->setTabEnabled(1, false);
        routineFilter_->setEnabled(false);
        routineFilter_->setToolTip(QStringLiteral("The reports do not name routines"));
    }
}

void FindingsViewer::fillCounts()
{
    for (int i = 0; i < int(model_->countsByFile().size()); ++i)
        addCount(fileCounts_, model_->countsByFile()[i], i);
    for (const FindingsModel::Count& count : model_->countsByRoutine())
        addCount(routineCounts_, count, count.name);
    fileCounts_->sortByColumn(-1, Qt::AscendingOrder);
    routineCounts_->sortByColumn(1, Qt::DescendingOrder);
}

void FindingsViewer::applyFilter()
{
    FindingsModel::Filter filter;
    filter.file = fileFilter_->currentData().toInt();
    if (const int kind = kindFilter_->currentData().toInt(); kind >= 0)
        filter.kind = FindingKind(kind);
    filter.routine = routineFilter_->currentData().toString();
    filter.text = search_->text();
    model_->setFilter(filter);
    shownCount_->setText(
        QStringLiteral("F&indings: %1 of %2").arg(model_->rowCount()).arg(model_->findingCount()));
}

void FindingsViewer::showFinding(int row)
{
    const Finding& finding = model_->findingAt(row);
    const RecordedFile& file = model_->run().files[model_->fileAt(row)];
    findingLabel_->setText(
        QStringLiteral("%1, line %2%3: %4 %5 %6")
            .arg(file.name)
            .arg(finding.line)
            .arg(finding.column > 0 ? QStringLiteral(", column %1").arg(finding.column) : QString())
            .arg(finding.kind == FindingKind::Error ? QStringLiteral("E /") : QStringLiteral("W /"),
                finding.message,
                finding.data.isEmpty() ? QString() : QStringLiteral("\u2014 ") + finding.data));
    wantedLine_ = finding.line;
    wantedColumn_ = finding.column;
    if (file.inputPath.isEmpty()) {
        shownPath_.clear();
        source_->setSource(nullptr);
        sourceLabel_->clear();
        source_->setNotice(
            QStringLiteral("Nothing the run left says where the input of %1 lies.").arg(file.name));
        return;
    }
    if (file.inputPath == shownPath_ && source_->source()) {
        source_->goTo(wantedLine_, wantedColumn_);
        return;
    }
    if (file.inputPath != loadingPath_)
        startLoading(file.inputPath);
}

// Read off the window's thread: a 100 MB input takes a second or two to
// decode, and the list stays usable meanwhile.
void FindingsViewer::startLoading(const QString& path)
{
    loadingPath_ = path;
    const int generation = ++loadGeneration_;
    shownPath_.clear();
    source_->setSource(nullptr);
    sourceLabel_->setText(path);
    source_->setNotice(QStringLiteral("Reading %1 ...").arg(path));
    auto loaded = std::make_shared<SourceText>();
    QThread* loader = QThread::create(
        [loaded, path, utf8 = settings_.utf8Input] { *loaded = LoadSourceText(path, utf8); });
    loaders_.append(loader);
    connect(loader, &QThread::finished, this, [this, loader, loaded, path, generation] {
        loaders_.removeOne(loader);
        loader->deleteLater();
        // A file asked for later has taken its place.
        if (generation == loadGeneration_)
            sourceLoaded(path, loaded);
    });
    loader->start();
}

void FindingsViewer::sourceLoaded(const QString& path, const std::shared_ptr<const SourceText>& source)
{
    loadingPath_.clear();
    if (!source->error.isEmpty()) {
        source_->setNotice(QStringLiteral("Cannot read the input: %1").arg(source->error));
        return;
    }
    shownPath_ = path;
    sourceLabel_->setText(QStringLiteral("%1 \u00b7 %2 \u00b7 line ends %3 \u00b7 %4 lines")
                              .arg(path, source->encoding, source->lineEnds)
                              .arg(source->lineCount()));
    source_->setSource(source);
    source_->goTo(wantedLine_, wantedColumn_);
}

bool FindingsViewer::openCurrentInEditor()
{
    const QModelIndex current = table_->currentIndex();
    if (!current.isValid())
        return false;
    const Finding& finding = model_->findingAt(current.row());
    const RecordedFile& file = model_->run().files[model_->fileAt(current.row())];
    if (file.inputPath.isEmpty()) {
        setStatus(QStringLiteral("The input of %1 is not known, so no editor can open it.").arg(file.name));
        return false;
    }
    const QString failure = StartEditor(
        settings_.editorProgram, settings_.applicationFolder, file.inputPath, finding.line, finding.column);
    setStatus(failure.isEmpty() ? QStringLiteral("Opened %1 at line %2 in %3.")
                                      .arg(file.inputPath)
                                      .arg(finding.line)
                                      .arg(settings_.editorProgram)
                                : QStringLiteral("Cannot open the editor: %1.").arg(failure));
    return failure.isEmpty();
}

void FindingsViewer::setStatus(const QString& text)
{
    status_->setText(text);
}
