#pragma once

// The user levels of the viewer and their feature visibility, and the process-wide values the
// main window publishes for the feature windows: the current user level and whether favorites
// that are unavailable now are still shown.
// Thread: GUI only.

#include "genapi/types.h"

#include <QMetaType>

namespace TarpoViewer {

enum EUserLevel : int
{
    UserLevel_Beginner = 0,
    UserLevel_Expert = 1,
    UserLevel_Guru = 2,
    UserLevel_Debug = 3
};

// Debug stays Debug only while the node debug mode is on; otherwise it becomes Guru.
EUserLevel effectiveUserLevel(EUserLevel level);
// Beginner, Expert, Guru, Invisible.
GenApi::EVisibility visibilityOf(EUserLevel level);
// Beginner -> 0, Expert -> 1, Guru -> 2, Invisible -> 3 in node debug mode, else 2.
EUserLevel userLevelOf(GenApi::EVisibility visibility);

EUserLevel currentUserLevel();
void setCurrentUserLevel(EUserLevel level);
bool viewAllFavorites();
void setViewAllFavorites(bool viewAll);

} // namespace TarpoViewer

Q_DECLARE_METATYPE(TarpoViewer::EUserLevel)
