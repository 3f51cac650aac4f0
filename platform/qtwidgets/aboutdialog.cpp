#include "qtwidgets/aboutdialog.h"

#include "tarpo/libraryversions.h"
#include "ui_aboutdialog.h"

#include <QApplication>
#include <QDate>
#include <QPushButton>

namespace {

const int kFirstYear = 2024;

} // namespace

AboutDialog::AboutDialog(QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::AboutDialog>())
{
    m_ui->setupUi(this);
    m_ui->labelIcon->setPixmap(QApplication::windowIcon().pixmap(64, 64));
    const int buildYear =
        QDate::fromString(__DATE__, "MMM d yyyy").isValid()
            ? QDate::fromString(QString(__DATE__).simplified(), "MMM d yyyy").year()
            : QDate::currentDate().year();
    m_ui->labelTitle->setText(QString("<h2>%1</h2><p>Version %2<br/>&copy; %3&ndash;%4 Morvex</p>")
                                  .arg(QApplication::applicationName().toHtmlEscaped(),
                                       QApplication::applicationVersion().toHtmlEscaped())
                                  .arg(kFirstYear)
                                  .arg(std::max(kFirstYear, buildYear)));
    QString versions = QString("<table><tr><td>Qt</td><td>%1</td></tr>").arg(qVersion());
    for (const auto& [name, version] : Tarpo::GetLibraryVersions())
        versions += QString("<tr><td>%1</td><td>%2</td></tr>")
                        .arg(QString::fromStdString(name).toHtmlEscaped(),
                             QString::fromStdString(version).toHtmlEscaped());
    m_ui->labelVersions->setText(versions + "</table>");
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

AboutDialog::~AboutDialog() = default;

QString AboutDialog::versionsText() const
{
    return m_ui->labelVersions->text();
}
