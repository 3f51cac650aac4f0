#include "qtwidgets/treewidgetbase.h"

#include <QDataStream>
#include <QHeaderView>
#include <QIODevice>
#include <QTreeView>

namespace {

const quint32 kStateMagic = 0x54574253; // "TWBS"

} // namespace

TreeWidgetBase::TreeWidgetBase(QWidget* parent) : QWidget(parent) {}

QByteArray TreeWidgetBase::saveState(int version) const
{
    QByteArray state;
    QDataStream stream(&state, QIODevice::WriteOnly);
    stream << kStateMagic << qint32(version) << treeView()->header()->saveState();
    return state;
}

bool TreeWidgetBase::restoreState(const QByteArray& state, int version)
{
    if (state.isEmpty())
        return false;
    QDataStream stream(state);
    quint32 magic = 0;
    qint32 savedVersion = 0;
    QByteArray header;
    stream >> magic >> savedVersion >> header;
    if (stream.status() != QDataStream::Ok || magic != kStateMagic || savedVersion != version)
        return false;
    return treeView()->header()->restoreState(header);
}
