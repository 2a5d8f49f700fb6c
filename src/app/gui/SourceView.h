#pragma once

#include <QAbstractScrollArea>
#include <memory>

struct SourceText;

// A read-only view of an input's text that paints only the lines on screen,
// so that a 100 MB input with lines of any length scrolls as freely as a
// small one. Lines and columns count as the findings count them: from 1, in
// the lines the run split at CR LF, one character per column (a tab or a
// lone CR shows as one visible sign).
class SourceView : public QAbstractScrollArea {
public:
    explicit SourceView(QWidget* parent = nullptr);

    void setSource(std::shared_ptr<const SourceText> source);
    const SourceText* source() const { return source_.get(); }
    // Shown in place of a text (while loading, or why there is none).
    void setNotice(const QString& notice);
    QString notice() const { return notice_; }

    // Puts the cursor on the line and column, scrolls them into view and
    // marks the column; column 0 marks the whole line, line 0 (the whole
    // file) nothing.
    void goTo(qint64 line, int column);
    qint64 cursorLine() const { return cursorLine_; }
    int cursorColumn() const { return cursorColumn_; }
    qint64 firstVisibleLine() const;
    int visibleLines() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    void updateScrollBars();
    void moveCursor(qint64 line, int column);
    void ensureCursorVisible();
    int visibleColumns() const;
    int gutterWidth() const;
    qint64 lineCount() const;

    std::shared_ptr<const SourceText> source_;
    QString notice_;
    qint64 cursorLine_ = 1;
    int cursorColumn_ = 1;
    qint64 markedLine_ = 0;
    int markedColumn_ = 0;
};
