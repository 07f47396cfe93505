-- The IBO tables. IboMain holds the live opportunities, IboArchive the archived
-- ones; both share one layout. Dates are stored as text in the canonical form
-- 'yyyy-MM-dd HH:mm:ss'; booleans as 0 and 1. No column is NOT NULL: the views
-- read whatever a host stored and show or report bad values themselves.
CREATE TABLE IF NOT EXISTS IboMain (
    IboID              INTEGER,
    IboNumber          TEXT,
    DateWWIH           DATETIME,
    ConFirstName       TEXT,
    ConLastName        TEXT,
    ConCompany         TEXT,
    DescriptorUwwgi    SMALLINT,
    DescriptorUwih     SMALLINT,
    DescriptorPriority SMALLINT,
    DescriptorStatus   SMALLINT,
    Product            TEXT,
    IboValueNumeric    NUMERIC,
    IboValueDecimal    NUMERIC,
    DateQualified      DATETIME,
    DateWonLostCancel  DATETIME,
    Note               TEXT,
    RecStatusArchive   BOOLEAN DEFAULT 0,
    RecStatusDelete    BOOLEAN DEFAULT 0
);
CREATE INDEX IF NOT EXISTS IboMain_IboID ON IboMain (IboID);
-- The views' orders, so that SQLite walks an index instead of sorting the IBOs: the list
-- by date, and each priority's open IBOs by date, value and number. No index leads with
-- the status or the archive flags: they split the IBOs into a few large groups, and
-- reading such a group through an index costs more than reading the table in order.
CREATE INDEX IF NOT EXISTS IboMain_Date ON IboMain (DateWWIH);
CREATE INDEX IF NOT EXISTS IboMain_Priority ON IboMain (DescriptorPriority, DescriptorStatus, DateWWIH, IboValueNumeric, IboNumber);

CREATE TABLE IF NOT EXISTS IboArchive (
    IboID              INTEGER,
    IboNumber          TEXT,
    DateWWIH           DATETIME,
    ConFirstName       TEXT,
    ConLastName        TEXT,
    ConCompany         TEXT,
    DescriptorUwwgi    SMALLINT,
    DescriptorUwih     SMALLINT,
    DescriptorPriority SMALLINT,
    DescriptorStatus   SMALLINT,
    Product            TEXT,
    IboValueNumeric    NUMERIC,
    IboValueDecimal    NUMERIC,
    DateQualified      DATETIME,
    DateWonLostCancel  DATETIME,
    Note               TEXT,
    RecStatusArchive   BOOLEAN DEFAULT 1,
    RecStatusDelete    BOOLEAN DEFAULT 0
);
CREATE INDEX IF NOT EXISTS IboArchive_IboID ON IboArchive (IboID);
