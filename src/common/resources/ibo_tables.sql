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
CREATE INDEX IF NOT EXISTS IboMain_Status ON IboMain (DescriptorStatus, DescriptorPriority, DateWWIH);

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
