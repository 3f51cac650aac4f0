#pragma once

// Keeps a window's position and size, and a header's column layout, in the settings: dialogs
// under their own name ("OptionsDialog", "RecordingOptions", "UnicastDialog", ...), headers in
// their owner's group.
// Thread: GUI only.

#include <QString>

class QHeaderView;
class QWidget;

void saveWidgetGeometry(const QWidget* widget, const QString& name);
// False, and the widget unchanged, when nothing was saved under `name`.
bool restoreWidgetGeometry(QWidget* widget, const QString& name);

void saveHeaderLayout(const QHeaderView* header, const QString& group);
// False, and the header unchanged, when nothing usable was saved in `group`.
bool restoreHeaderLayout(QHeaderView* header, const QString& group);
