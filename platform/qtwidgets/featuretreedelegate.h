#pragma once

// The editors of the feature tree, one per kind of feature: a spin box for integers within its
// minimum, maximum and increment (a text field for hexadecimal and very large ones), a spin box
// with unit and the feature's precision for floats, the entries available now for an
// enumeration, a text field for strings and registers, and a button for commands. Enter or
// leaving the editor writes the value, Escape takes it back.
// Thread: GUI only; the editors read the feature's range from the device when they open.

#include <QStyledItemDelegate>

class FeatureTreeModel;

class FeatureTreeDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    FeatureTreeDelegate(FeatureTreeModel* model, QObject* parent = nullptr);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;

private:
    FeatureTreeModel* m_model;
};
