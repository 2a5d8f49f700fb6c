#pragma once

#include <QDialog>

class QComboBox;
class QFileSystemModel;
class QLabel;
class QLineEdit;
class QTreeView;

// Picks a folder from a tree of the file system, with the mount points to
// jump to and a button for a new folder. A folder the run writes into
// (working, output) is accepted only after the write-access check of the
// folder services passes; a refusal says why and keeps the dialog open.
class FolderChooser : public QDialog {
public:
    enum class Use { Read, Write };

    FolderChooser(const QString& title, const QString& start, Use use, QWidget* parent = nullptr);

    // The chosen folder, with a trailing "/", once accepted.
    QString folder() const { return folder_; }
    // The folder the tree and the path box show.
    QString currentFolder() const;
    void setCurrentFolder(const QString& folder);
    // Why the last choice was refused; empty when it was not.
    QString refusal() const;

    void accept() override;

private:
    void makeFolder();

    Use use_;
    QString folder_;
    QComboBox* mountPoints_;
    QFileSystemModel* files_;
    QTreeView* tree_;
    QLineEdit* path_;
    QLabel* refusal_;
};
