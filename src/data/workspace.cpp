#include "data/workspace.h"

#include "automation/runtime_error.h"

namespace BrevView::data {

Workspace::Workspace(QString name, QString userName, QString password, int type)
    : name_(std::move(name)),
      userName_(std::move(userName)),
      password_(std::move(password)),
      type_(type)
{}

std::shared_ptr<Database> Workspace::OpenDatabase(const QString& path, bool, bool, const QString& connect)
{
    if (!open_)
        automation::Raise(3420, QStringLiteral("BrevView.Data"), QStringLiteral("Object invalid or no longer set."));
    std::shared_ptr<Database> db = Database::Open(path, connect, userName_, password_);
    databases_.push_back(db);
    return db;
}

void Workspace::Close()
{
    for (auto& weak : databases_) {
        if (auto db = weak.lock())
            db->Close();
    }
    databases_.clear();
    open_ = false;
}

std::shared_ptr<DBEngine> DBEngine::ForThisThread()
{
    thread_local std::shared_ptr<DBEngine> engine = std::make_shared<DBEngine>();
    return engine;
}

std::shared_ptr<Workspace> DBEngine::CreateWorkspace(const QString& name, const QString& userName,
                                                     const QString& password, int type)
{
    auto ws = std::make_shared<Workspace>(name, userName, password, type);
    workspaces_.push_back(ws);
    return ws;
}

int DBEngine::OpenWorkspaceCount() const
{
    int n = 0;
    for (const auto& weak : workspaces_) {
        if (auto ws = weak.lock(); ws && ws->IsOpen())
            ++n;
    }
    return n;
}

}  // namespace BrevView::data
