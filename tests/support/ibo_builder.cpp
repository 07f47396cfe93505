#include "ibo_builder.h"

namespace BrevView::test {

Ibo Ibo::Open(int id, const QString& dateWWIH)
{
    Ibo ibo;
    ibo.Set(QStringLiteral("IboID"), QString::number(id));
    ibo.Text(QStringLiteral("IboNumber"), QStringLiteral("IBO-%1").arg(id));
    ibo.Text(QStringLiteral("DateWWIH"), dateWWIH);
    ibo.Text(QStringLiteral("ConFirstName"), QStringLiteral("First%1").arg(id));
    ibo.Text(QStringLiteral("ConLastName"), QStringLiteral("Last%1").arg(id));
    ibo.Text(QStringLiteral("ConCompany"), QStringLiteral("Company%1").arg(id));
    ibo.Set(QStringLiteral("DescriptorUwwgi"), QStringLiteral("1"));
    ibo.Set(QStringLiteral("DescriptorUwih"), QStringLiteral("1"));
    ibo.Set(QStringLiteral("DescriptorPriority"), QStringLiteral("1"));
    ibo.Set(QStringLiteral("DescriptorStatus"), QStringLiteral("1"));
    ibo.Text(QStringLiteral("Product"), QStringLiteral("Widget~Gadget"));
    ibo.Set(QStringLiteral("IboValueNumeric"), QStringLiteral("1000"));
    ibo.Set(QStringLiteral("IboValueDecimal"), QStringLiteral("0"));
    ibo.Text(QStringLiteral("DateQualified"), QStringLiteral("2026-01-01 00:00:00"));
    ibo.Set(QStringLiteral("DateWonLostCancel"), QStringLiteral("NULL"));
    ibo.Text(QStringLiteral("Note"), QStringLiteral("note %1").arg(id));
    ibo.Set(QStringLiteral("RecStatusArchive"), QStringLiteral("0"));
    ibo.Set(QStringLiteral("RecStatusDelete"), QStringLiteral("0"));
    return ibo;
}

QString Ibo::InsertSql(const QString& table) const
{
    return QStringLiteral("INSERT INTO %1 (%2) VALUES (%3);")
        .arg(table, QStringList(fields.keys()).join(QStringLiteral(", ")), QStringList(fields.values()).join(QStringLiteral(", ")));
}

}  // namespace BrevView::test
