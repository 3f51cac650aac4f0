#include "tools/unicastcreatedialog.h"

#include "qtwidgets/qipaddressvalidator.h"
#include "ui_unicastcreatedialog.h"

#include <QPushButton>

CUnicastCreateDialog::CUnicastCreateDialog(QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::CameraIpDialog>())
{
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    m_ui->setupUi(this);
    m_ui->lineEdit->setValidator(new QIpAddressValidator(m_ui->lineEdit));
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
    on_lineEdit_textChanged(m_ui->lineEdit->text());
}

CUnicastCreateDialog::~CUnicastCreateDialog() = default;

void CUnicastCreateDialog::setIpAddress(const QString& address)
{
    m_ui->lineEdit->setText(address);
}

void CUnicastCreateDialog::on_lineEdit_textChanged(const QString& text)
{
    m_ipAddress = text;
    m_ui->buttonBox->button(QDialogButtonBox::Ok)->setEnabled(m_ui->lineEdit->hasAcceptableInput());
}
