#pragma once

// Help, feedback and support: the user manual's location, the project's feedback page, and the
// support information a user sends with a question (versions of the viewer and the libraries it
// runs on, the system, the cameras found).
// Thread: GUI only for the functions that open something; the texts may be made anywhere.

#include "tarpo/deviceinfo.h"

#include <QString>

// The project's pages and address.
extern const char* const kFeedbackUrl;
extern const char* const kSupportMailAddress;

// The manual's index.html: TARPO_MANUAL_PATH when set, else "manual/index.html" beside the
// executable (build tree), else "../share/doc/tarpo-viewer/manual/index.html" from it (an
// installation). Empty when none of them exists.
QString GetHelpFilePath();
// Opens the manual in the desktop's browser; false when there is none or it did not open.
bool ShowHelpFile();
// Opens the project's feedback page; false when it did not open.
bool OpenFeedbackUrl();

// The support text with the cameras of `devices` (taken from a finished scan, so the GUI never
// waits for a GigE discovery).
QString GetMorvexSupportInfo(const Tarpo::DeviceInfoList& devices);
// The same, enumerating the cameras now: up to a second for GigE discovery.
QString GetMorvexSupportInfo();
// Copies the support text to the clipboard and opens a mail to support with it; false when no
// mail program opened (the text is on the clipboard all the same).
bool ContactMorvexSupport(const Tarpo::DeviceInfoList& devices);
