#include "app/gui/SourceView.h"

#include "text/SourceText.h"

#include <QApplication>
#include <QClipboard>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QPainter>
#include <QScrollBar>
#include <algorithm>

namespace {

// One visible sign per character, so that the column under the cursor is the
// finding's column: a tab would take the width of several, a control
// character none.
QString visibleText(QStringView text)
{
    QString shown = text.toString();
    for (QChar& c : shown) {
        if (c == u'\t')
            c = QChar(0x2192);
        else if (c.unicode() < 0x20)
            c = QChar(0x2400 + c.unicode());
    }
    return shown;
}

} // namespace

SourceView::SourceView(QWidget* parent)
    : QAbstractScrollArea(parent)
{
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setCursor(Qt::IBeamCursor);
}

void SourceView::setSource(std::shared_ptr<const SourceText> source)
{
    source_ = std::move(source);
    notice_.clear();
    cursorLine_ = 1;
    cursorColumn_ = 1;
    markedLine_ = 0;
    markedColumn_ = 0;
    verticalScrollBar()->setValue(0);
    horizontalScrollBar()->setValue(0);
    updateScrollBars();
    viewport()->update();
}

void SourceView::setNotice(const QString& notice)
{
    notice_ = notice;
    viewport()->update();
}

qint64 SourceView::lineCount() const
{
    return source_ ? source_->lineCount() : 0;
}

qint64 SourceView::firstVisibleLine() const
{
    return verticalScrollBar()->value() + 1;
}

int SourceView::visibleLines() const
{
    return std::max(1, viewport()->height() / fontMetrics().height());
}

int SourceView::visibleColumns() const
{
    return std::max(1, (viewport()->width() - gutterWidth()) / std::max(1, fontMetrics().averageCharWidth()));
}

int SourceView::gutterWidth() const
{
    const int digits = int(QString::number(std::max<qint64>(lineCount(), 1)).size());
    return fontMetrics().horizontalAdvance(QString(digits + 1, u'9'));
}

void SourceView::updateScrollBars()
{
    const qint64 lines = lineCount();
    verticalScrollBar()->setRange(0, int(std::max<qint64>(0, lines - visibleLines())));
    verticalScrollBar()->setPageStep(visibleLines());
    const qint64 longest = source_ ? source_->longestLine : 0;
    horizontalScrollBar()->setRange(0, int(std::max<qint64>(0, longest + 1 - visibleColumns())));
    horizontalScrollBar()->setPageStep(visibleColumns());
}

void SourceView::goTo(qint64 line, int column)
{
    // Line 0 is the whole file (a count over all of it): nothing to mark.
    if (line < 1) {
        markedLine_ = 0;
        moveCursor(1, 1);
        verticalScrollBar()->setValue(0);
        horizontalScrollBar()->setValue(0);
        viewport()->update();
        return;
    }
    markedLine_ = std::clamp<qint64>(line, 1, std::max<qint64>(lineCount(), 1));
    markedColumn_ = column;
    moveCursor(markedLine_, std::max(column, 1));
    // The finding's line a third of the way down, with the lines that lead to it above.
    verticalScrollBar()->setValue(int(std::max<qint64>(0, markedLine_ - 1 - visibleLines() / 3)));
    // The column two thirds of the way across: what leads up to a finding
    // says more than what follows it.
    const int first = horizontalScrollBar()->value();
    if (column - 1 < first || column - 1 >= first + visibleColumns())
        horizontalScrollBar()->setValue(std::max(0, column - 1 - visibleColumns() * 2 / 3));
    viewport()->update();
}

void SourceView::moveCursor(qint64 line, int column)
{
    cursorLine_ = std::clamp<qint64>(line, 1, std::max<qint64>(lineCount(), 1));
    const qint64 length = source_ && lineCount() > 0 ? source_->line(cursorLine_ - 1).size() : 0;
    cursorColumn_ = int(std::clamp<qint64>(column, 1, length + 1));
}

void SourceView::ensureCursorVisible()
{
    const qint64 first = firstVisibleLine();
    if (cursorLine_ < first)
        verticalScrollBar()->setValue(int(cursorLine_ - 1));
    else if (cursorLine_ >= first + visibleLines())
        verticalScrollBar()->setValue(int(cursorLine_ - visibleLines()));
    const int left = horizontalScrollBar()->value();
    if (cursorColumn_ - 1 < left)
        horizontalScrollBar()->setValue(cursorColumn_ - 1);
    else if (cursorColumn_ - 1 >= left + visibleColumns())
        horizontalScrollBar()->setValue(cursorColumn_ - visibleColumns());
    viewport()->update();
}

void SourceView::keyPressEvent(QKeyEvent* event)
{
    qint64 line = cursorLine_;
    int column = cursorColumn_;
    const bool control = event->modifiers() & Qt::ControlModifier;
    switch (event->key()) {
    case Qt::Key_Up:
        --line;
        break;
    case Qt::Key_Down:
        ++line;
        break;
    case Qt::Key_Left:
        --column;
        break;
    case Qt::Key_Right:
        ++column;
        break;
    case Qt::Key_PageUp:
        line -= visibleLines();
        break;
    case Qt::Key_PageDown:
        line += visibleLines();
        break;
    case Qt::Key_Home:
        control ? void(line = 1) : void(column = 1);
        break;
    case Qt::Key_End:
        control ? void(line = lineCount()) : void(column = std::numeric_limits<int>::max());
        break;
    default:
        if (event->matches(QKeySequence::Copy) && source_ && lineCount() > 0) {
            QApplication::clipboard()->setText(source_->line(cursorLine_ - 1).toString());
            return;
        }
        QAbstractScrollArea::keyPressEvent(event);
        return;
    }
    moveCursor(line, column);
    ensureCursorVisible();
}

void SourceView::mousePressEvent(QMouseEvent* event)
{
    if (!source_ || lineCount() == 0)
        return;
    const QFontMetrics metrics = fontMetrics();
    const qint64 line = firstVisibleLine() + int(event->position().y()) / metrics.height();
    const int x = int(event->position().x()) - gutterWidth();
    const int column
        = horizontalScrollBar()->value() + 1 + std::max(0, x) / std::max(1, metrics.averageCharWidth());
    moveCursor(line, column);
    viewport()->update();
}

void SourceView::scrollContentsBy(int, int)
{
    viewport()->update();
}

void SourceView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBars();
}

void SourceView::paintEvent(QPaintEvent*)
{
    QPainter painter(viewport());
    const QPalette colours = palette();
    painter.fillRect(viewport()->rect(), colours.base());
    if (!notice_.isEmpty() || !source_) {
        painter.setPen(colours.color(QPalette::PlaceholderText));
        painter.drawText(viewport()->rect().adjusted(8, 8, -8, -8), Qt::TextWordWrap, notice_);
        return;
    }
    const QFontMetrics metrics = fontMetrics();
    const int height = metrics.height();
    const int gutter = gutterWidth();
    const int left = horizontalScrollBar()->value();
    const int columns = visibleColumns() + 1;
    painter.fillRect(0, 0, gutter - 4, viewport()->height(), colours.alternateBase());
    const qint64 first = firstVisibleLine();
    for (int row = 0; row <= visibleLines(); ++row) {
        const qint64 line = first + row;
        if (line > lineCount())
            break;
        const int top = row * height;
        const QString shown = visibleText(source_->line(line - 1).mid(left, columns));
        const auto xOf
            = [&](int column) { return gutter + metrics.horizontalAdvance(shown.left(column - 1 - left)); };
        if (line == markedLine_) {
            painter.fillRect(gutter, top, viewport()->width() - gutter, height, QColor(255, 243, 176));
            if (markedColumn_ > left && markedColumn_ <= left + columns) {
                const int x = xOf(markedColumn_);
                const int width = std::max(metrics.averageCharWidth(), xOf(markedColumn_ + 1) - x);
                painter.fillRect(x, top, width, height, QColor(255, 176, 96));
            }
        }
        painter.setPen(colours.color(QPalette::PlaceholderText));
        painter.drawText(
            0, top, gutter - 8, height, Qt::AlignRight | Qt::AlignVCenter, QString::number(line));
        painter.setPen(colours.color(QPalette::Text));
        painter.drawText(gutter, top + metrics.ascent(), shown);
        if (line == cursorLine_ && cursorColumn_ > left && cursorColumn_ <= left + columns)
            painter.fillRect(xOf(cursorColumn_), top, 2, height, colours.color(QPalette::Text));
    }
}
