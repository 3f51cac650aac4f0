#include "qtbase/widgetgeometry.h"

#include <QHeaderView>
#include <QSettings>
#include <QWidget>

namespace {

const char* const kGeometryKey = "geometry";
const char* const kHeaderKey = "headerState";

} // namespace

void saveWidgetGeometry(const QWidget* widget, const QString& name)
{
    QSettings().setValue(name + "/" + kGeometryKey, widget->saveGeometry());
}

bool restoreWidgetGeometry(QWidget* widget, const QString& name)
{
    const QByteArray geometry = QSettings().value(name + "/" + kGeometryKey).toByteArray();
    return !geometry.isEmpty() && widget->restoreGeometry(geometry);
}

void saveHeaderLayout(const QHeaderView* header, const QString& group)
{
    QSettings().setValue(group + "/" + kHeaderKey, header->saveState());
}

bool restoreHeaderLayout(QHeaderView* header, const QString& group)
{
    const QByteArray state = QSettings().value(group + "/" + kHeaderKey).toByteArray();
    return !state.isEmpty() && header->restoreState(state);
}
