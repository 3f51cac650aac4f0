#pragma once

// The viewer's application object: a QApplication whose event dispatch lets no exception
// escape. An exception out of an event handler is reported and the event counts as not handled;
// the program goes on.
// Thread: GUI only.

#include <QApplication>

class MyApplication : public QApplication
{
    Q_OBJECT

public:
    MyApplication(int& argc, char** argv);

    bool notify(QObject* receiver, QEvent* event) override;
};
