#pragma once

// The dock of a tree window (devices, features): gives access to the tree it shows now and to
// that tree's saved layout.
// Thread: GUI only.

#include <QByteArray>
#include <QDockWidget>

class TreeWidgetBase;

class TreeWindowBase : public QDockWidget
{
    Q_OBJECT

public:
    explicit TreeWindowBase(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());

    // The tree shown now, or null.
    virtual TreeWidgetBase* currentTreeWidget() const { return nullptr; }

    // The current tree's layout tagged with `version`; empty without a tree.
    QByteArray saveTreeState(int version) const;
    // False without a tree or when the tree refuses `state` (see TreeWidgetBase::restoreState).
    bool restoreTreeState(const QByteArray& state, int version);
};
