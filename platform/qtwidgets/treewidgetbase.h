#pragma once

// The base of the library's tree widgets (devices, features, bandwidth): a tree view whose
// column layout can be saved and restored, tagged with an integer version so that a layout of
// another version is ignored.
// Thread: GUI only.

#include <QByteArray>
#include <QWidget>

class QTreeView;

class TreeWidgetBase : public QWidget
{
    Q_OBJECT

public:
    explicit TreeWidgetBase(QWidget* parent = nullptr);

    // The view whose header layout is saved.
    virtual QTreeView* treeView() const = 0;

    // The header layout, tagged with `version`.
    virtual QByteArray saveState(int version) const;
    // False, and nothing changes, when `state` is empty, malformed or of another version.
    virtual bool restoreState(const QByteArray& state, int version);
};
