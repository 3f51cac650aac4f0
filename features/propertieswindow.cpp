#include "features/propertieswindow.h"

#include "genapi/genapi.h"
#include "messagelog/messagelog.h"

#include <QHeaderView>
#include <QTableWidget>

namespace {

// The raw property rows at the Debug level show every part of a tab-joined property.
QStringList parts(const GenApi::gcstring& text)
{
    return QString::fromUtf8(text.c_str()).split('\t', Qt::SkipEmptyParts);
}

QString yesNo(bool value)
{
    return value ? "Yes" : "No";
}

} // namespace

PropertiesWindow::PropertiesWindow(const QString& title, QWidget* parent, Qt::WindowFlags flags)
    : QDockWidget(title, parent, flags), m_table(new QTableWidget(0, 2, this))
{
    m_table->setHorizontalHeaderLabels({"   Property   ", "    Value    "});
    m_table->verticalHeader()->hide();
    m_table->verticalHeader()->setDefaultSectionSize(m_table->fontMetrics().height() + 6);
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    setWidget(m_table);
}

PropertiesWindow::~PropertiesWindow()
{
    deregister();
}

void PropertiesWindow::deregister()
{
    if (m_currentNode && m_callbackHandle)
        m_currentNode->DeregisterCallback(m_callbackHandle);
    m_callbackHandle = 0;
    m_currentNode = nullptr;
}

void PropertiesWindow::appendRow(const QString& property)
{
    const int row = m_table->rowCount();
    m_table->setRowCount(row + 1);
    for (int column = 0; column < 2; ++column) {
        auto* cell = new QTableWidgetItem(column == 0 ? property : QString("-"));
        cell->setFlags(Qt::ItemIsEnabled);
        m_table->setItem(row, column, cell);
    }
}

void PropertiesWindow::onVisibilityChanged(GenApi::EVisibility Visibility)
{
    m_visibility = Visibility;
    onCurrentChanged(m_currentNode);
}

void PropertiesWindow::onCurrentChanged(GenApi::INode* pCurrentNode)
{
    deregister();
    m_table->setRowCount(0);
    if (!pCurrentNode)
        return;
    GenApi::INode* node = pCurrentNode;
    if (dynamic_cast<GenApi::IValue*>(node))
        appendRow("Value");
    if (dynamic_cast<GenApi::IInteger*>(node))
        for (const char* row : {"Minimum", "Maximum", "Increment"})
            appendRow(row);
    if (dynamic_cast<GenApi::IFloat*>(node))
        for (const char* row : {"Minimum", "Maximum"})
            appendRow(row);
    if (dynamic_cast<GenApi::IEnumeration*>(node))
        appendRow("IntValue");
    if (dynamic_cast<GenApi::ICommand*>(node))
        appendRow("IsDone");
    if (dynamic_cast<GenApi::IRegister*>(node))
        for (const char* row : {"Length", "Address"})
            appendRow(row);
    if (dynamic_cast<GenApi::IEnumEntry*>(node))
        appendRow("Symbolic");
    for (const char* row :
         {"AccessMode", "Name", "Interface", "NameSpace", "Visibility", "PollingTime",
          "CachingMode", "IsAccessModeCacheable", "EventID", "IsStreamable"})
        appendRow(row);
    if (m_visibility == GenApi::Invisible) {
        GenApi::gcstring_vector names;
        node->GetPropertyNames(names);
        for (const GenApi::gcstring& name : names) {
            GenApi::gcstring value, attribute;
            node->GetProperty(name, value, attribute);
            const QStringList values = parts(value);
            const QStringList attributes = parts(attribute);
            for (int i = 0; i < values.size(); ++i) {
                const QString label =
                    i < attributes.size()
                        ? QString("<%1 [%2]>").arg(QString::fromStdString(name), attributes[i])
                        : QString("<%1>").arg(QString::fromStdString(name));
                QString text = values[i];
                text.replace('\n', ' ');
                text = text.simplified();
                if (name == "Address")
                    text = "0x" + QString::number(text.toLongLong(), 16);
                const int row = m_table->rowCount();
                appendRow(label);
                m_table->item(row, 1)->setText(text);
            }
        }
    }
    m_currentNode = node;
    // Runs inside the node map's lock wherever the node changes: only queues the refresh.
    m_callbackHandle = GenApi::Register(node, [this](GenApi::INode*) {
        if (m_updatePosted.exchange(true))
            return;
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_updatePosted = false;
                onUpdateNode();
            },
            Qt::QueuedConnection);
    });
    onUpdateNode();
}

void PropertiesWindow::onUpdateNode()
{
    GenApi::INode* node = m_currentNode;
    if (!node)
        return;
    try {
        for (int row = 0; row < m_table->rowCount(); ++row) {
            const QString property = m_table->item(row, 0)->text();
            if (property.startsWith('<'))
                continue;
            QString text = "-";
            try {
                const bool readable = GenApi::IsReadable(node);
                if (property == "Value") {
                    if (readable && !dynamic_cast<GenApi::ICategory*>(node) &&
                        !dynamic_cast<GenApi::ICommand*>(node))
                        text = QString::fromUtf8(
                            dynamic_cast<GenApi::IValue*>(node)->ToString().c_str());
                } else if (auto* integer = dynamic_cast<GenApi::IInteger*>(node);
                           integer && readable &&
                           (property == "Minimum" || property == "Maximum" ||
                            property == "Increment")) {
                    const int64_t value = property == "Minimum"   ? integer->GetMin()
                                          : property == "Maximum" ? integer->GetMax()
                                                                  : integer->GetInc();
                    text = QString("%1").arg(value);
                } else if (auto* floating = dynamic_cast<GenApi::IFloat*>(node);
                           floating && readable &&
                           (property == "Minimum" || property == "Maximum")) {
                    text = QString("%1").arg(property == "Minimum" ? floating->GetMin()
                                                                   : floating->GetMax());
                } else if (property == "IntValue" && readable) {
                    text =
                        QString("%1").arg(dynamic_cast<GenApi::IEnumeration*>(node)->GetIntValue());
                } else if (property == "IsDone" && GenApi::IsWritable(node)) {
                    text = yesNo(dynamic_cast<GenApi::ICommand*>(node)->IsDone());
                } else if (property == "Length") {
                    text = QString("%1").arg(dynamic_cast<GenApi::IRegister*>(node)->GetLength());
                } else if (property == "Address") {
                    text = "0x" + QString::number(
                                      dynamic_cast<GenApi::IRegister*>(node)->GetAddress(), 16);
                } else if (property == "Symbolic") {
                    text = QString::fromUtf8(
                        dynamic_cast<GenApi::IEnumEntry*>(node)->GetSymbolic().c_str());
                } else if (property == "AccessMode") {
                    text = QString::fromStdString(
                        GenApi::EAccessModeClass::ToString(node->GetAccessMode()));
                } else if (property == "Name") {
                    text = QString::fromStdString(node->GetName());
                } else if (property == "Interface") {
                    text = QString::fromStdString(
                        GenApi::EInterfaceTypeClass::ToString(node->GetPrincipalInterfaceType()));
                } else if (property == "NameSpace") {
                    text = QString::fromStdString(
                        GenApi::ENameSpaceClass::ToString(node->GetNameSpace()));
                } else if (property == "Visibility") {
                    text = QString::fromStdString(
                        GenApi::EVisibilityClass::ToString(node->GetVisibility()));
                } else if (property == "PollingTime") {
                    text = QString("%1").arg(node->GetPollingTime());
                } else if (property == "CachingMode") {
                    text = QString::fromStdString(
                        GenApi::ECachingModeClass::ToString(node->GetCachingMode()));
                } else if (property == "IsAccessModeCacheable") {
                    text = QString::fromStdString(
                        GenApi::EYesNoClass::ToString(node->IsAccessModeCacheable()));
                } else if (property == "EventID") {
                    const QString id = QString::fromStdString(node->GetEventID());
                    text = id.isEmpty() ? QString("-")
                                        : "0x" + QString::number(id.toLongLong(nullptr, 0), 16);
                } else if (property == "IsStreamable") {
                    text = yesNo(node->IsStreamable());
                }
            } catch (const GenICam::GenericException&) {
                TarpoViewer::postLogMessage(TarpoViewer::Warning, "PropertiesWindow",
                                            QString("Error while retrieving the value of node '%1'")
                                                .arg(QString::fromStdString(node->GetName())));
            }
            m_table->item(row, 1)->setText(text);
        }
    } catch (...) {
        TarpoViewer::postLogMessage(TarpoViewer::Warning, "PropertiesWindow::onUpdateNode",
                                    "Error while reading properties");
    }
}
