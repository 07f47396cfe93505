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
-- The views' orders, so that SQLite walks an index instead of sorting the IBOs. By date:
-- the list. By status, priority, date, value and number: the open IBOs of the priority
-- view and the open and won IBOs of the forecast. Both hold every column their views read,
-- so that those views read them front to back and never look a row up in the table (with a
-- million IBOs such look-ups land on random pages of the file, which no cache holds, and the
-- list took twice as long per IBO as with ten thousand). The price is room (the file is about
-- twice the table) and time on a write that changes an IBO's date: the forecast view's
-- won-date writes move two wide entries each, but only where the date really changes.
CREATE INDEX IF NOT EXISTS IboMain_ByDate ON IboMain (DateWWIH, RecStatusArchive, RecStatusDelete, DescriptorStatus,
    IboID, IboNumber, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, Product, IboValueNumeric,
    IboValueDecimal, Note);
CREATE INDEX IF NOT EXISTS IboMain_ByStatus ON IboMain (DescriptorStatus, DescriptorPriority, DateWWIH,
    IboValueNumeric, IboNumber, RecStatusArchive, RecStatusDelete, IboID, ConFirstName, ConLastName, ConCompany,
    DescriptorUwwgi, DescriptorUwih, Product, IboValueDecimal, DateQualified, DateWonLostCancel, Note);

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
