#pragma once

// The message helpers every slot uses to report a failure: a source text made of class and
// method name ("Camera::open"), a fixed message ("Failed to open the camera.") and the
// exception's text. They post to the AsyncErrorQueue, so they work on any thread.
// Thread-safe.

#include "genapi/genicamexception.h"

#include <QString>

#include <exception>

class QWidget;

void showException(const GenICam::GenericException& e, const QString& source,
                   const QString& message, QWidget* parent = nullptr);
void showException(const std::exception& e, const QString& source, const QString& message,
                   QWidget* parent = nullptr);
// For exceptions of unknown type: "<source>: Unspecified exception occurred.".
void showUnexpectedException(const QString& source, const QString& message,
                             QWidget* parent = nullptr);
void showWarningMessage(const QString& source, const QString& message, QWidget* parent = nullptr);
void showCriticalMessage(const QString& source, const QString& message, QWidget* parent = nullptr);

// The text of an exception of unknown type, "<source>: Unspecified exception occurred.".
QString unspecifiedExceptionText(const QString& source);
