#pragma once
// A named session of the database engine in which databases are opened. Its user name
// and password reach the engine of each database it opens (a server checks them; SQLite
// has no users and ignores them); the password is held in memory only, never shown.

#include <memory>
#include <vector>

#include <QString>

#include "data/database.h"

namespace BrevView::data {

inline constexpr int dbUseJet = 2;

class Workspace {
public:
    Workspace(QString name, QString userName, QString password, int type);

    const QString& Name() const { return name_; }
    const QString& UserName() const { return userName_; }
    int Type() const { return type_; }

    // `options` and `readOnly` are accepted as the original takes them; the connect
    // string is kept on the database. Error 3024 for a missing file; for a server, the
    // numbered error of what refused the connection.
    std::shared_ptr<Database> OpenDatabase(const QString& path, bool options = false, bool readOnly = false,
                                           const QString& connect = QString());
    void Close();
    bool IsOpen() const { return open_; }

private:
    QString name_;
    QString userName_;
    QString password_;
    int type_;
    bool open_ = true;
    std::vector<std::weak_ptr<Database>> databases_;
};

// The database engine: one per thread, shared by every control of that thread.
class DBEngine {
public:
    static std::shared_ptr<DBEngine> ForThisThread();

    std::shared_ptr<Workspace> CreateWorkspace(const QString& name, const QString& userName, const QString& password,
                                               int type = dbUseJet);
    // Workspaces created on this engine that are still open.
    int OpenWorkspaceCount() const;

private:
    std::vector<std::weak_ptr<Workspace>> workspaces_;
};

}  // namespace BrevView::data
