#pragma once
// Writes IBO rows into a test database: every field has a plain default that a test
// overrides by name; a value of "NULL" stores Null.

#include <QMap>
#include <QString>
#include <QStringList>

namespace BrevView::test {

struct Ibo {
    QMap<QString, QString> fields;  // field name -> SQL literal

    static Ibo Open(int id, const QString& dateWWIH);
    Ibo& Set(const QString& field, const QString& sqlLiteral)
    {
        fields[field] = sqlLiteral;
        return *this;
    }
    Ibo& Text(const QString& field, const QString& text)
    {
        QString t = text;
        t.replace(QLatin1Char('\''), QStringLiteral("''"));
        fields[field] = QLatin1Char('\'') + t + QLatin1Char('\'');
        return *this;
    }
    QString InsertSql(const QString& table = QStringLiteral("IboMain")) const;
};

}  // namespace BrevView::test
