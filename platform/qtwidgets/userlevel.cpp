#include "qtwidgets/userlevel.h"

#include "qtwidgets/nodedebugmode.h"

namespace TarpoViewer {

namespace {

EUserLevel g_userLevel = UserLevel_Beginner;
bool g_viewAllFavorites = true;

} // namespace

EUserLevel effectiveUserLevel(EUserLevel level)
{
    if (level < UserLevel_Beginner)
        return UserLevel_Beginner;
    if (level >= UserLevel_Debug)
        return isNodeDebugModeEnabled() ? UserLevel_Debug : UserLevel_Guru;
    return level;
}

GenApi::EVisibility visibilityOf(EUserLevel level)
{
    switch (effectiveUserLevel(level)) {
    case UserLevel_Beginner:
        return GenApi::Beginner;
    case UserLevel_Expert:
        return GenApi::Expert;
    case UserLevel_Guru:
        return GenApi::Guru;
    case UserLevel_Debug:
        return GenApi::Invisible;
    }
    return GenApi::Beginner;
}

EUserLevel userLevelOf(GenApi::EVisibility visibility)
{
    switch (visibility) {
    case GenApi::Beginner:
        return UserLevel_Beginner;
    case GenApi::Expert:
        return UserLevel_Expert;
    case GenApi::Guru:
        return UserLevel_Guru;
    case GenApi::Invisible:
        return isNodeDebugModeEnabled() ? UserLevel_Debug : UserLevel_Guru;
    default:
        return UserLevel_Beginner;
    }
}

EUserLevel currentUserLevel()
{
    return g_userLevel;
}

void setCurrentUserLevel(EUserLevel level)
{
    g_userLevel = effectiveUserLevel(level);
}

bool viewAllFavorites()
{
    return g_viewAllFavorites;
}

void setViewAllFavorites(bool viewAll)
{
    g_viewAllFavorites = viewAll;
}

} // namespace TarpoViewer
