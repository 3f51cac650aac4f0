#pragma once

// The "Feature Properties" dock: the GenICam properties of the feature selected in the feature
// tree (value and limits, access mode, name, interface, namespace, visibility, polling time,
// caching) and, at the Debug user level, every raw property of its description. Follows the
// node's changes live through a node callback, which is always deregistered before another node
// is shown or the window goes; never edits anything.
// Thread: GUI only; the node callback runs where the node changes and only queues a refresh.

#include "genapi/interfaces.h"

#include <QDockWidget>

#include <atomic>

class QTableWidget;

class PropertiesWindow : public QDockWidget
{
    Q_OBJECT

public:
    explicit PropertiesWindow(const QString& title, QWidget* parent = nullptr,
                              Qt::WindowFlags flags = Qt::WindowFlags());
    ~PropertiesWindow() override;

    QTableWidget* table() const { return m_table; }
    GenApi::INode* currentNode() const { return m_currentNode; }

public slots:
    void onCurrentChanged(GenApi::INode* pCurrentNode);
    void onVisibilityChanged(GenApi::EVisibility Visibility);

private:
    void deregister();
    void appendRow(const QString& property);
    // Fills the value column from the node.
    void onUpdateNode();

    QTableWidget* m_table;
    GenApi::INode* m_currentNode = nullptr;
    GenApi::CallbackHandleType m_callbackHandle = 0;
    GenApi::EVisibility m_visibility = GenApi::Beginner;
    std::atomic<bool> m_updatePosted{false};
};
