#pragma once
// The demo host's own access to the IBO table: what a real host does beside the
// controls (reading an IBO for its edit dialog, writing the user's changes).

#include <optional>

#include <QString>

struct IboRecord {
    qint32 id = 0;
    QString number, firstName, lastName, company, product, note;
    QString dateWWIH;  // yyyy-MM-dd
    int status = 1, priority = 1, uwih = 0, uwwgi = 0;
    double value = 0;  // whole currency units with hundredths
};

class IboStore {
public:
    explicit IboStore(QString path) : path_(std::move(path)) {}
    std::optional<IboRecord> Load(qint32 id, QString* error) const;
    bool Save(const IboRecord& ibo, QString* error) const;
    // The id of the IBO with this number, or 0.
    qint32 IdOfNumber(const QString& number) const;
    // The number of the IBO with this id, or "".
    QString NumberOfId(qint32 id) const;
    const QString& path() const { return path_; }
    // A database on a PostgreSQL server rather than an SQLite file.
    static bool IsServerUri(const QString& path)
    {
        return path.startsWith(QLatin1String("postgresql://"), Qt::CaseInsensitive) ||
               path.startsWith(QLatin1String("postgres://"), Qt::CaseInsensitive);
    }

private:
    std::optional<IboRecord> LoadFromServer(qint32 id, QString* error) const;
    bool SaveOnServer(const IboRecord& ibo, QString* error) const;
    QString ServerText(const char* sql, const QByteArray& parameter) const;

    QString path_;
};
