#include "ibo_builder.h"

#include <QRegularExpression>

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
    // Numbers go in quotes: both engines read '1' into a number column as the number, and
    // PostgreSQL reads '0' and '1' into a boolean column, where it refuses a bare 0 or 1.
    static const QRegularExpression number(QStringLiteral("^-?[0-9]+(\\.[0-9]+)?$"));
    QStringList values;
    for (const QString& v : fields)
        values.append(number.match(v).hasMatch() ? QLatin1Char('\'') + v + QLatin1Char('\'') : v);
    return QStringLiteral("INSERT INTO %1 (%2) VALUES (%3);")
        .arg(table, QStringList(fields.keys()).join(QStringLiteral(", ")), values.join(QStringLiteral(", ")));
}

}  // namespace BrevView::test
