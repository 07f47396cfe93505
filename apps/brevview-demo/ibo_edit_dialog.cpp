#include "ibo_edit_dialog.h"

#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPlainTextEdit>

IboEditDialog::IboEditDialog(const IboRecord& ibo, QWidget* parent) : QDialog(parent), ibo_(ibo)
{
    setObjectName(QStringLiteral("iboEditDialog"));
    setWindowTitle(tr("IBO %1").arg(ibo.number));
    auto* form = new QFormLayout;
    number_ = new QLineEdit(ibo.number);
    first_ = new QLineEdit(ibo.firstName);
    last_ = new QLineEdit(ibo.lastName);
    company_ = new QLineEdit(ibo.company);
    // A stored product reads "name~detail"; the views show the name, and so does the dialog,
    // with the detail beside it (kept as it is unless edited).
    const qsizetype tilde = ibo.product.indexOf(QLatin1Char('~'));
    product_ = new QLineEdit(tilde < 0 ? ibo.product : ibo.product.left(tilde));
    productDetail_ = new QLineEdit(tilde < 0 ? QString() : ibo.product.mid(tilde + 1));
    product_->setObjectName(QStringLiteral("product"));
    productDetail_->setObjectName(QStringLiteral("productDetail"));
    date_ = new QDateEdit(QDate::fromString(ibo.dateWWIH, QStringLiteral("yyyy-MM-dd")));
    date_->setCalendarPopup(true);
    status_ = new QComboBox;
    status_->addItems({tr("Open"), tr("Won"), tr("Lost"), tr("Cancelled")});
    status_->setCurrentIndex(qBound(0, ibo.status - 1, 3));
    priority_ = new QComboBox;
    priority_->addItems(
        {tr("Review First"), tr("Review Second"), tr("Review Third"), tr("Breakthrough Needed"), tr("Leave It Alone")});
    priority_->setCurrentIndex(qBound(0, ibo.priority - 1, 4));
    const QStringList levels{tr("Low"), tr("Med"), tr("High")};
    uwih_ = new QComboBox;
    uwih_->addItems(levels);
    uwih_->setCurrentIndex(qBound(0, ibo.uwih, 2));
    uwwgi_ = new QComboBox;
    uwwgi_->addItems(levels);
    uwwgi_->setCurrentIndex(qBound(0, ibo.uwwgi, 2));
    value_ = new QDoubleSpinBox;
    value_->setRange(0, 1e12);
    value_->setDecimals(2);
    value_->setValue(ibo.value);
    note_ = new QPlainTextEdit(ibo.note);
    form->addRow(tr("IBO number"), number_);
    form->addRow(tr("First name"), first_);
    form->addRow(tr("Last name"), last_);
    form->addRow(tr("Company"), company_);
    form->addRow(tr("Product"), product_);
    form->addRow(tr("Product detail"), productDetail_);
    form->addRow(tr("When will it happen?"), date_);
    form->addRow(tr("Status"), status_);
    form->addRow(tr("Priority"), priority_);
    form->addRow(tr("Will it happen?"), uwih_);
    form->addRow(tr("Will we get it?"), uwwgi_);
    form->addRow(tr("&Value"), value_);
    form->addRow(tr("Note"), note_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    form->addRow(buttons);
    setLayout(form);
}

IboRecord IboEditDialog::Result() const
{
    IboRecord r = ibo_;
    r.number = number_->text();
    r.firstName = first_->text();
    r.lastName = last_->text();
    r.company = company_->text();
    r.product = productDetail_->text().isEmpty() ? product_->text()
                                                 : product_->text() + QLatin1Char('~') + productDetail_->text();
    r.dateWWIH = date_->date().toString(QStringLiteral("yyyy-MM-dd"));
    r.status = status_->currentIndex() + 1;
    r.priority = priority_->currentIndex() + 1;
    r.uwih = uwih_->currentIndex();
    r.uwwgi = uwwgi_->currentIndex();
    r.value = value_->value();
    r.note = note_->toPlainText();
    return r;
}
