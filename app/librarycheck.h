#pragma once

// The check at start-up that the libraries the viewer loads at run time are usable: every
// plug-in module in the plug-in folder, and the extension plug-in when one is configured. (The
// shared libraries the viewer is linked with are checked by the dynamic loader before it runs.)
// Thread: GUI, before the main window exists.

#include <QString>

// The file name of the first module that cannot be loaded, or of the configured extension
// plug-in that no module offers; empty when everything loads.
QString findMissingLibrary();

// The message a user sees for `library`.
QString missingLibraryText(const QString& library);

// Exit code of the viewer when a required library is missing.
constexpr int kMissingLibraryExitCode = 5;
