// libFuzzer target: the query-dialect translator with filter and sort texts, and the
// recordsets built from them. Any text must translate and run, or fail with a numbered
// error, never crash; the database is never changed by a filter or a sort.

#include <QCoreApplication>
#include <QTemporaryDir>

#include <sqlite3.h>

#include "automation/runtime_error.h"
#include "common/ibo_schema.h"
#include "data/database.h"
#include "data/sql_dialect.h"

namespace {
std::shared_ptr<BrevView::data::Database> g_db;
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static QCoreApplication app(*argc, *argv);
    static QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("fuzz.db"));
    sqlite3* db = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    sqlite3_exec(db, BrevView::detail::IboSchemaSql().toUtf8().constData(), nullptr, nullptr, nullptr);
    sqlite3_exec(
        db,
        "INSERT INTO IboMain (IboID, IboNumber, DateWWIH, DescriptorStatus, DescriptorUwih, DescriptorUwwgi, IboValueNumeric) VALUES "
        "(1, 'A', '2024-05-10 17:45:00', 1, 2, 1, 100), (2, 'B', '2024-06-01 00:00:00', 2, 0, 0, 200)",
        nullptr, nullptr, nullptr);
    sqlite3_close(db);
    g_db = BrevView::data::Database::Open(path, QString());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    const qsizetype bar = text.indexOf(QLatin1Char('|'));
    const QString filter = bar < 0 ? text : text.left(bar);
    const QString sort = bar < 0 ? QString() : text.mid(bar + 1);
    try {
        (void)BrevView::data::TranslateJetSql(text);
        auto rs =
            g_db->OpenRecordset(QStringLiteral("SELECT IboID, IboNumber, DateWWIH, DescriptorStatus FROM IboMain"),
                                BrevView::data::dbOpenSnapshot);
        rs->SetFilter(filter);
        rs->SetSort(sort);
        auto narrowed = rs->OpenRecordset();
        for (int i = 0; i < 10 && !narrowed->Eof(); ++i) {
            for (int f = 0; f < narrowed->FieldCount(); ++f)
                (void)narrowed->Field(f);
            narrowed->MoveNext();
        }
    } catch (const BrevView::RuntimeError& e) {
        if (e.number() <= 0)
            __builtin_trap();
    }
    return 0;
}
