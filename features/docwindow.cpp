#include "features/docwindow.h"

#include "genapi/genapi.h"
#include "genapi/selectorset.h"

#include <QLocale>
#include <QTextEdit>

namespace {

QString text(const GenApi::gcstring& value)
{
    return QString::fromUtf8(value.c_str()).toHtmlEscaped();
}

const char* interfaceName(GenApi::EInterfaceType type)
{
    switch (type) {
    case GenApi::intfIInteger:
        return "IInteger";
    case GenApi::intfIBoolean:
        return "IBoolean";
    case GenApi::intfICommand:
        return "ICommand";
    case GenApi::intfIFloat:
        return "IFloat";
    case GenApi::intfIString:
        return "IString";
    case GenApi::intfIRegister:
        return "IRegister";
    case GenApi::intfICategory:
        return "ICategory";
    case GenApi::intfIEnumeration:
        return "IEnumeration";
    case GenApi::intfIEnumEntry:
        return "IEnumEntry";
    case GenApi::intfIPort:
        return "IPort";
    default:
        return "IValue";
    }
}

// The access prefix of a node's map by its root marker: camera, transport layer, stream.
bool mapKind(GenApi::INode* node, int* kind)
{
    try {
        GenApi::INodeMap* map = node->GetNodeMap();
        auto* root = map ? dynamic_cast<GenApi::IUserData*>(map->GetNode("Root")) : nullptr;
        if (!root)
            return false;
        const GenApi::UserData_t marker = root->GetUserData();
        if (marker < 0 || marker > 2)
            return false;
        *kind = int(marker);
        return true;
    } catch (const GenICam::GenericException&) {
        return false;
    }
}

// The node's value as C++ code writes it; empty when it has none.
QString cppValue(GenApi::INode* node)
{
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(node))
        return QString::number(integer->GetValue());
    if (auto* boolean = dynamic_cast<GenApi::IBoolean*>(node))
        return boolean->GetValue() ? "true" : "false";
    if (auto* floating = dynamic_cast<GenApi::IFloat*>(node))
        return QLocale::c().toString(floating->GetValue(), 'g', 6);
    if (auto* string = dynamic_cast<GenApi::IString*>(node))
        return '"' + text(string->GetValue()) + '"';
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
        GenApi::IEnumEntry* entry = enumeration->GetCurrentEntry();
        auto* entryNode = dynamic_cast<GenApi::INode*>(entry);
        return entryNode ? text(entryNode->GetName()).mid(10) : QString();
    }
    return QString();
}

// The value as the command line and Aravis take it.
QString plainValue(GenApi::INode* node)
{
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
        GenApi::IEnumEntry* entry = enumeration->GetCurrentEntry();
        return entry ? text(entry->GetSymbolic()) : QString();
    }
    if (auto* boolean = dynamic_cast<GenApi::IBoolean*>(node))
        return boolean->GetValue() ? "true" : "false";
    if (auto* string = dynamic_cast<GenApi::IString*>(node))
        return text(string->GetValue());
    return cppValue(node);
}

} // namespace

DocWindow::DocWindow(const QString& title, QWidget* parent, Qt::WindowFlags flags)
    : QDockWidget(title, parent, flags), m_textEdit(new QTextEdit(this))
{
    m_textEdit->setReadOnly(true);
    setWidget(m_textEdit);
}

QSize DocWindow::sizeHint() const
{
    QSize size = QDockWidget::sizeHint();
    size.setHeight(100);
    return size;
}

void DocWindow::onNewText(QString text)
{
    m_textEdit->clear();
    m_textEdit->setHtml(text);
}

void DocWindow::onCurrentChanged(GenApi::INode* pCurrentNode)
{
    m_textEdit->clear();
    if (pCurrentNode)
        m_textEdit->setHtml(documentation(pCurrentNode));
}

QString DocWindow::sampleCode(GenApi::INode* node)
{
    int kind = 0;
    if (!node || !mapKind(node, &kind))
        return QString();
    static const char* const prefixes[] = {"camera.", "camera.GetTLParams().",
                                           "camera.GetStreamGrabberParams()."};
    const QString prefix = prefixes[kind];
    bool readable = false;
    bool writable = false;
    try {
        const GenApi::EAccessMode access = node->GetAccessMode();
        if (access > GenApi::NA) {
            readable = GenApi::IsReadable(access);
            writable = GenApi::IsWritable(access);
        }
        auto writing = [&](GenApi::INode* n, const QString& value) {
            return prefix + text(n->GetName()) + ".SetValue(" + value + ");<br/>";
        };
        QString code;
        GenApi::CSelectorSet selectors(dynamic_cast<GenApi::IBase*>(node));
        GenApi::FeatureList_t list;
        selectors.GetSelectorList(list);
        for (auto it = list.rbegin(); it != list.rend(); ++it) {
            auto* selector = dynamic_cast<GenApi::INode*>(*it);
            const QString value = selector ? cppValue(selector) : QString();
            if (selector && !value.isEmpty() && GenApi::IsWritable(selector))
                code += writing(selector, value);
        }
        const QString name = text(node->GetName());
        QString declaration;
        switch (node->GetPrincipalInterfaceType()) {
        case GenApi::intfIInteger:
            declaration = "int64_t i = ";
            break;
        case GenApi::intfIBoolean:
            declaration = "bool b = ";
            break;
        case GenApi::intfIFloat:
            declaration = "double d = ";
            break;
        case GenApi::intfIString:
            declaration = "GenICam::gcstring s = ";
            break;
        case GenApi::intfIEnumeration:
            declaration = name + "Enums e = ";
            break;
        case GenApi::intfICommand:
            return readable ? code + prefix + name + ".Execute();<br/>" : QString();
        default:
            return QString();
        }
        const QString value = cppValue(node);
        if (writable)
            code += writing(node, value);
        if (readable)
            code += declaration + prefix + name + ".GetValue();<br/>";
        return code;
    } catch (const GenICam::GenericException&) {
        return QString();
    }
}

QString DocWindow::documentation(GenApi::INode* node)
{
    if (!node)
        return QString();
    const GenApi::EInterfaceType type = node->GetPrincipalInterfaceType();
    const QString name = text(node->GetName());
    QString html = "<body>";
    if (type == GenApi::intfIEnumeration)
        html +=
            QString("<h1>%1</h1><b>%2</b><br/>%3<br/><br/><b>Node Name:</b> %4<br/><b>Interface "
                    "Type:</b> %5<br/><b>C++ Enum Type:</b> %6")
                .arg(text(node->GetDisplayName()), text(node->GetToolTip()),
                     text(node->GetDescription()), name, "IEnumeration", name + "Enums");
    else
        html +=
            QString("<h1>%1</h1><b>%2</b><br/>%3<br/><br/><b>Node Name:</b> %4<br/><b>Interface "
                    "Type:</b> %5<br/>")
                .arg(text(node->GetDisplayName()), text(node->GetToolTip()),
                     text(node->GetDescription()), name, interfaceName(type));
    const QString sample = sampleCode(node);
    if (!sample.isEmpty()) {
        html += "<h3>C++ sample code:</h3><blockquote><pre><code>" + sample +
                "</code></pre></blockquote>";
        // The same from a terminal and through Aravis, which a Linux user can run today.
        int kind = 0;
        mapKind(node, &kind);
        const QString map = kind == 1 ? " -m tl" : kind == 2 ? " -m stream" : QString();
        QString value;
        try {
            value = GenApi::IsReadable(node) ? plainValue(node) : QString();
        } catch (const GenICam::GenericException&) {
        }
        html += "<h3>tarpo-cli:</h3><blockquote><pre><code>";
        if (GenApi::IsWritable(node) && type != GenApi::intfICommand)
            html += QString("tarpo-cli set -d DEVICE%1 %2=%3<br/>").arg(map, name, value);
        html += QString("tarpo-cli get -d DEVICE%1 %2").arg(map, name);
        html += "</code></pre></blockquote>";
        if (kind == 0) {
            static const struct
            {
                GenApi::EInterfaceType type;
                const char* setter;
                const char* getter;
            } calls[] = {
                {GenApi::intfIInteger, "arv_device_set_integer_feature_value",
                 "arv_device_get_integer_feature_value"},
                {GenApi::intfIFloat, "arv_device_set_float_feature_value",
                 "arv_device_get_float_feature_value"},
                {GenApi::intfIBoolean, "arv_device_set_boolean_feature_value",
                 "arv_device_get_boolean_feature_value"},
                {GenApi::intfIString, "arv_device_set_string_feature_value",
                 "arv_device_get_string_feature_value"},
                {GenApi::intfIEnumeration, "arv_device_set_string_feature_value",
                 "arv_device_get_string_feature_value"},
            };
            for (const auto& call : calls) {
                if (call.type != type)
                    continue;
                const QString quoted =
                    type == GenApi::intfIString || type == GenApi::intfIEnumeration
                        ? '"' + value + '"'
                        : value;
                html += "<h3>Aravis:</h3><blockquote><pre><code>";
                if (GenApi::IsWritable(node))
                    html += QString("%1(device, \"%2\", %3, &amp;error);<br/>")
                                .arg(call.setter, name, quoted);
                html += QString("%1(device, \"%2\", &amp;error);").arg(call.getter, name);
                html += "</code></pre></blockquote>";
            }
            if (type == GenApi::intfICommand)
                html += QString("<h3>Aravis:</h3><blockquote><pre><code>"
                                "arv_device_execute_command(device, \"%1\", &amp;error);"
                                "</code></pre></blockquote>")
                            .arg(name);
        }
    }
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
        GenApi::NodeList_t entries;
        enumeration->GetEntries(entries);
        if (!entries.empty()) {
            html += "<hr/><h2>Possible Values</h2>";
            for (GenApi::INode* entry : entries) {
                auto* enumEntry = dynamic_cast<GenApi::IEnumEntry*>(entry);
                const QString entryName = text(entry->GetName());
                html += QString("<h3>%1</h3><b>%2</b><br/>%3<br/><br/><b>Symbolic Name:</b> "
                                "%4<br/><b>Node Name:</b> %5<br/><b>Interface Type:</b> "
                                "IEnumEntry<br/><b>C++ Enum Value:</b> %6<hr/>")
                            .arg(text(entry->GetDisplayName()), text(entry->GetToolTip()),
                                 text(entry->GetDescription()),
                                 enumEntry ? text(enumEntry->GetSymbolic()) : QString(), entryName,
                                 entryName.mid(10));
            }
        }
    }
    return html + "</body>";
}
