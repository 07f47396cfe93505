#pragma once
// A test database with a few IBOs, opened through the data layer.

#include "data/database.h"
#include "data/workspace.h"
#include "support/test_env.h"

namespace BrevView::test {

class DataTest : public TestEnv, public OnBothEngines {
protected:
    void SetUp() override
    {
        TestEnv::SetUp();
        path_ = CreateIboDatabase();
        Exec(path_,
             QStringLiteral(
                 "INSERT INTO IboMain (IboID, IboNumber, DateWWIH, ConLastName, DescriptorStatus, DescriptorPriority, "
                 "IboValueNumeric, IboValueDecimal, RecStatusArchive, RecStatusDelete, DateWonLostCancel) VALUES "
                 "(1, 'A-1', '2024-05-12 00:00:00', 'Zorn', 1, 1, 1000, 50, '0', '0', NULL),"
                 "(2, 'A-2', '2024-05-10 17:45:00', 'Adams', 2, 2, 2000, 0, '0', '0', '2024-04-01 00:00:00'),"
                 "(3, 'A-3', '2024-05-11 00:00:00', 'Miller', 3, 1, 3000, 0, '0', '0', NULL),"
                 "(4, 'A-4', '2024-05-09 00:00:00', 'Archived', 1, 1, 4000, 0, '1', '0', NULL),"
                 "(5, 'A-5', '2024-05-08 09:00:00', NULL, 4, 3, 5000, 0, '0', '0', NULL)"));
        db_ = data::Database::Open(path_, QStringLiteral("UID=;PWD=;"));
    }

    QString path_;
    std::shared_ptr<data::Database> db_;
};

}  // namespace BrevView::test
