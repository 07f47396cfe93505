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
-- Two copies of the live IBOs in the orders the views read them, each holding every
-- column, so that a refresh reads one index front to back and never looks a row up in the
-- table (a look-up per row lands on a random page of the file, and with a million IBOs
-- those pages no longer fit any cache). By date: the list. By status, priority, date,
-- value and number: the open IBOs of the priority view, and the open and won IBOs of the
-- forecast. The price is room (the file is about twice as large) and a little time on
-- every write.
CREATE INDEX IF NOT EXISTS IboMain_ByDate ON IboMain (DateWWIH, IboValueNumeric, IboNumber, DescriptorStatus,
    DescriptorPriority, RecStatusArchive, RecStatusDelete, IboID, ConFirstName, ConLastName, ConCompany,
    DescriptorUwwgi, DescriptorUwih, Product, IboValueDecimal, DateQualified, DateWonLostCancel, Note);
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
