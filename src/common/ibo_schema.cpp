#include "common/ibo_schema.h"

#include <QFile>

namespace BrevView::detail {

QString IboSchemaSql(data::Dialect dialect)
{
    QFile f(dialect == data::Dialect::PostgreSQL ? QStringLiteral(":/brevview/ibo_tables_pg.sql")
                                                 : QStringLiteral(":/brevview/ibo_tables.sql"));
    if (!f.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(f.readAll());
}

}  // namespace BrevView::detail
