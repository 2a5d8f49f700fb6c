#pragma once

#include <QMap>
#include <QSet>
#include <QString>

// The image list of a run: every image folder that a file of the run was
// checked against, with the images of it that some file called out. After
// the last file, what lies in those folders and is not called out is
// reported once for the whole run.
struct ImageCallouts {
    // Ordered by folder, so that the report after the run comes out the same
    // however the files were shared out.
    QMap<QString, QSet<QString>> calledOut;

    void clear() { calledOut.clear(); }
    void merge(const ImageCallouts& other)
    {
        for (auto folder = other.calledOut.cbegin(); folder != other.calledOut.cend(); ++folder)
            calledOut[folder.key()].unite(folder.value());
    }
};
