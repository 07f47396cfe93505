-- The IBO tables on a PostgreSQL server. IboMain holds the live opportunities,
-- IboArchive the archived ones; both share one layout. Names are left unquoted, so
-- that the server folds them to lower case: the views' statements name them the same
-- way. Text columns compare byte by byte (collation "C"), so that lists sort exactly
-- as in the embedded database, whatever the server's default collation. No column but
-- the key is NOT NULL: the views read whatever a host stored and show or report bad
-- values themselves. The won-date write of the forecast view updates a row by IboID,
-- hence the primary key.
CREATE TABLE IF NOT EXISTS IboMain (
    IboID              integer PRIMARY KEY,
    IboNumber          text COLLATE "C",
    DateWWIH           timestamp,
    ConFirstName       text COLLATE "C",
    ConLastName        text COLLATE "C",
    ConCompany         text COLLATE "C",
    DescriptorUwwgi    smallint,
    DescriptorUwih     smallint,
    DescriptorPriority smallint,
    DescriptorStatus   smallint,
    Product            text COLLATE "C",
    IboValueNumeric    numeric,
    IboValueDecimal    numeric,
    DateQualified      timestamp,
    DateWonLostCancel  timestamp,
    Note               text COLLATE "C",
    RecStatusArchive   boolean DEFAULT false,
    RecStatusDelete    boolean DEFAULT false
);
-- The views' orders (nulls first, as the views sort them), so that the server walks an
-- index instead of sorting the IBOs. By date: the list. By status, priority, date, value
-- and number: the open IBOs of the priority view and the open and won IBOs of the forecast.
CREATE INDEX IF NOT EXISTS IboMain_ByDate ON IboMain (DateWWIH NULLS FIRST);
CREATE INDEX IF NOT EXISTS IboMain_ByStatus ON IboMain (DescriptorStatus NULLS FIRST, DescriptorPriority NULLS FIRST,
    DateWWIH NULLS FIRST, IboValueNumeric NULLS FIRST, IboNumber NULLS FIRST);

CREATE TABLE IF NOT EXISTS IboArchive (
    IboID              integer PRIMARY KEY,
    IboNumber          text COLLATE "C",
    DateWWIH           timestamp,
    ConFirstName       text COLLATE "C",
    ConLastName        text COLLATE "C",
    ConCompany         text COLLATE "C",
    DescriptorUwwgi    smallint,
    DescriptorUwih     smallint,
    DescriptorPriority smallint,
    DescriptorStatus   smallint,
    Product            text COLLATE "C",
    IboValueNumeric    numeric,
    IboValueDecimal    numeric,
    DateQualified      timestamp,
    DateWonLostCancel  timestamp,
    Note               text COLLATE "C",
    RecStatusArchive   boolean DEFAULT true,
    RecStatusDelete    boolean DEFAULT false
);
CREATE INDEX IF NOT EXISTS IboArchive_ByDate ON IboArchive (DateWWIH NULLS FIRST);

-- The stored queries the views create on first use. A salesperson's role needs CREATE on
-- the schema for the views to create this table themselves; otherwise an administrator
-- runs this script once.
CREATE TABLE IF NOT EXISTS BrevQueryDefs (
    Name text NOT NULL,
    SQL  text NOT NULL
);
CREATE UNIQUE INDEX IF NOT EXISTS BrevQueryDefs_Name ON BrevQueryDefs (lower(Name));
