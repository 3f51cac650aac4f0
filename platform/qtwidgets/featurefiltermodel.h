#pragma once

// What the feature tree shows of its model: the features the user level allows, those that
// match the search (a category stays while any feature under it matches), and favorites that
// are not available now only while "view all favorites" is on.
// Thread: GUI only.

#include "genapi/types.h"

#include <QSortFilterProxyModel>

class FeatureFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    explicit FeatureFilterModel(QObject* parent = nullptr);

    void setVisibility(GenApi::EVisibility visibility);
    GenApi::EVisibility visibility() const { return m_visibility; }
    // Lower-cased; empty shows everything the level allows.
    void setSearchText(const QString& text);
    QString searchText() const { return m_search; }
    void setViewAllFavorites(bool viewAll);

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex& sourceParent) const override;

private:
    GenApi::EVisibility m_visibility = GenApi::Beginner;
    QString m_search;
    bool m_viewAllFavorites = true;
};
