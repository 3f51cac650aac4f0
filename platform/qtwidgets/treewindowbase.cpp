#include "qtwidgets/treewindowbase.h"

#include "qtwidgets/treewidgetbase.h"

TreeWindowBase::TreeWindowBase(QWidget* parent, Qt::WindowFlags flags) : QDockWidget(parent, flags)
{
}

QByteArray TreeWindowBase::saveTreeState(int version) const
{
    TreeWidgetBase* tree = currentTreeWidget();
    return tree ? tree->saveState(version) : QByteArray();
}

bool TreeWindowBase::restoreTreeState(const QByteArray& state, int version)
{
    TreeWidgetBase* tree = currentTreeWidget();
    return tree && tree->restoreState(state, version);
}
