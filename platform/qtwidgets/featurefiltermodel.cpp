#include "qtwidgets/featurefiltermodel.h"

#include "qtwidgets/featuretreemodel.h"

FeatureFilterModel::FeatureFilterModel(QObject* parent) : QSortFilterProxyModel(parent)
{
    setRecursiveFilteringEnabled(true);
    setDynamicSortFilter(false);
}

void FeatureFilterModel::setVisibility(GenApi::EVisibility visibility)
{
    if (visibility == m_visibility)
        return;
    m_visibility = visibility;
    invalidateFilter();
}

void FeatureFilterModel::setSearchText(const QString& text)
{
    const QString lower = text.trimmed().toLower();
    if (lower == m_search)
        return;
    m_search = lower;
    invalidateFilter();
}

void FeatureFilterModel::setViewAllFavorites(bool viewAll)
{
    if (viewAll == m_viewAllFavorites)
        return;
    m_viewAllFavorites = viewAll;
    invalidateFilter();
}

bool FeatureFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const
{
    const QModelIndex index = sourceModel()->index(sourceRow, 0, sourceParent);
    const auto kind = FeatureTreeModel::Kind(index.data(FeatureTreeModel::KindRole).toInt());
    if (index.data(FeatureTreeModel::FavoriteRole).toBool()) {
        if (m_viewAllFavorites)
            return true;
        const auto access =
            GenApi::EAccessMode(index.data(FeatureTreeModel::AccessModeRole).toInt());
        return access != GenApi::NA && access != GenApi::NI;
    }
    switch (kind) {
    case FeatureTreeModel::FavoritesItem:
        return m_search.isEmpty();
    case FeatureTreeModel::MapItem:
        // With a search, a map stays for the features under it that match.
        return m_search.isEmpty();
    case FeatureTreeModel::CategoryItem:
        if (index.data(FeatureTreeModel::VisibilityRole).toInt() > m_visibility)
            return false;
        return m_search.isEmpty();
    case FeatureTreeModel::FeatureItem:
        if (index.data(FeatureTreeModel::VisibilityRole).toInt() > m_visibility)
            return false;
        return m_search.isEmpty() ||
               index.data(FeatureTreeModel::SearchTextRole).toString().contains(m_search);
    }
    return true;
}
