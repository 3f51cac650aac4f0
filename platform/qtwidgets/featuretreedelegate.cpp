#include "qtwidgets/featuretreedelegate.h"

#include "genapi/genapi.h"
#include "qtwidgets/featuretreemodel.h"
#include "qtwidgets/nodetext.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QSortFilterProxyModel>
#include <QSpinBox>

#include <cmath>
#include <limits>

namespace {

GenApi::INode* nodeOf(const QModelIndex& index)
{
    return reinterpret_cast<GenApi::INode*>(
        index.data(FeatureTreeModel::NodeRole).value<quintptr>());
}

QModelIndex toSource(const QModelIndex& index)
{
    auto* proxy = qobject_cast<const QSortFilterProxyModel*>(index.model());
    return proxy ? proxy->mapToSource(index) : index;
}

// The value an editor holds, as setModelData writes it.
QString editorValue(QWidget* editor)
{
    if (auto* spin = qobject_cast<QSpinBox*>(editor))
        return QString::number(spin->value());
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(editor))
        return QString::number(spin->value(), 'g', 17);
    if (auto* combo = qobject_cast<QComboBox*>(editor))
        return combo->currentData().toString();
    if (auto* edit = qobject_cast<QLineEdit*>(editor))
        return edit->text();
    return QString();
}

QString stripUnit(const QString& text)
{
    const int space = text.trimmed().indexOf(' ');
    return space < 0 ? text.trimmed() : text.trimmed().left(space);
}

} // namespace

FeatureTreeDelegate::FeatureTreeDelegate(FeatureTreeModel* model, QObject* parent)
    : QStyledItemDelegate(parent), m_model(model)
{
}

QWidget* FeatureTreeDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                           const QModelIndex& index) const
{
    GenApi::INode* node = nodeOf(index);
    if (!node)
        return nullptr;
    try {
        if (auto* integer = dynamic_cast<GenApi::IInteger*>(node)) {
            const int64_t min = integer->GetMin();
            const int64_t max = integer->GetMax();
            const bool fitsSpinBox =
                min >= std::numeric_limits<int>::min() && max <= std::numeric_limits<int>::max();
            if (integer->GetRepresentation() == GenApi::HexNumber || !fitsSpinBox) {
                auto* edit = new QLineEdit(parent);
                edit->setValidator(new QRegularExpressionValidator(
                    QRegularExpression("(0[xX][0-9a-fA-F]+|-?[0-9]+)"), edit));
                edit->setToolTip(QString("%1 to %2").arg(min).arg(max));
                return edit;
            }
            auto* spin = new QSpinBox(parent);
            spin->setRange(int(min), int(max));
            spin->setSingleStep(int(std::max<int64_t>(1, integer->GetInc())));
            const QString unit = QString::fromStdString(integer->GetUnit());
            if (!unit.isEmpty())
                spin->setSuffix(' ' + unit);
            return spin;
        }
        if (auto* floating = dynamic_cast<GenApi::IFloat*>(node)) {
            auto* spin = new QDoubleSpinBox(parent);
            const int precision =
                int(std::max<int64_t>(2, std::min<int64_t>(floating->GetDisplayPrecision(), 9)));
            spin->setDecimals(precision);
            spin->setRange(floating->GetMin(), floating->GetMax());
            if (floating->HasInc() && floating->GetInc() > 0)
                spin->setSingleStep(floating->GetInc());
            const QString unit = QString::fromStdString(floating->GetUnit());
            if (!unit.isEmpty())
                spin->setSuffix(' ' + unit);
            return spin;
        }
        if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
            auto* combo = new QComboBox(parent);
            const bool utf8 = m_model->utf8Of(toSource(index));
            GenApi::NodeList_t entries;
            enumeration->GetEntries(entries);
            for (GenApi::INode* entry : entries) {
                auto* enumEntry = dynamic_cast<GenApi::IEnumEntry*>(entry);
                if (!enumEntry || !GenApi::IsAvailable(entry))
                    continue;
                combo->addItem(NodeText::text(entry->GetDisplayName().c_str(), utf8),
                               NodeText::text(enumEntry->GetSymbolic().c_str(), utf8));
            }
            // The choice is written as soon as it is made.
            connect(combo, qOverload<int>(&QComboBox::activated), this, [this, combo] {
                emit const_cast<FeatureTreeDelegate*>(this)->commitData(combo);
                emit const_cast<FeatureTreeDelegate*>(this)->closeEditor(combo);
            });
            return combo;
        }
        if (dynamic_cast<GenApi::ICommand*>(node)) {
            auto* button = new QPushButton("Execute", parent);
            const QPersistentModelIndex persistent(index);
            connect(button, &QPushButton::clicked, this, [this, button, persistent] {
                QString error;
                m_model->executeCommand(toSource(persistent), &error);
                emit const_cast<FeatureTreeDelegate*>(this)->closeEditor(button);
            });
            return button;
        }
        if (auto* string = dynamic_cast<GenApi::IString*>(node)) {
            auto* edit = new QLineEdit(parent);
            const int64_t maxLength = string->GetMaxLength();
            if (maxLength > 0 && maxLength < std::numeric_limits<int>::max())
                edit->setMaxLength(int(maxLength));
            return edit;
        }
        if (dynamic_cast<GenApi::IRegister*>(node))
            return new QLineEdit(parent);
    } catch (const GenICam::GenericException&) {
        // The range could not be read: a plain text field still lets the user try.
        return new QLineEdit(parent);
    }
    return QStyledItemDelegate::createEditor(parent, option, index);
}

void FeatureTreeDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    const QString text = index.data(Qt::DisplayRole).toString();
    if (auto* spin = qobject_cast<QSpinBox*>(editor)) {
        spin->setValue(stripUnit(text).toInt());
    } else if (auto* spin = qobject_cast<QDoubleSpinBox*>(editor)) {
        spin->setValue(stripUnit(text).toDouble());
    } else if (auto* combo = qobject_cast<QComboBox*>(editor)) {
        combo->setCurrentIndex(std::max(0, combo->findText(text)));
    } else if (auto* edit = qobject_cast<QLineEdit*>(editor)) {
        edit->setText(dynamic_cast<GenApi::IRegister*>(nodeOf(index))
                          ? text.section(':', -1).trimmed()
                          : stripUnit(text));
        if (dynamic_cast<GenApi::IString*>(nodeOf(index)))
            edit->setText(text);
        edit->selectAll();
    }
    // What the editor started with: leaving it unchanged writes nothing.
    editor->setProperty("initialValue", editorValue(editor));
}

void FeatureTreeDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                       const QModelIndex& index) const
{
    if (qobject_cast<QPushButton*>(editor))
        return;
    const QString value = editorValue(editor);
    // Unchanged values are not written: opening an editor never writes to the camera.
    if (value == editor->property("initialValue").toString())
        return;
    model->setData(index, value, Qt::EditRole);
}
