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
-- and number: the open IBOs of the priority view and the open and won IBOs of the forecast;
-- it carries the other columns those views read, so that (once the table is vacuumed) the
-- server answers them from the index alone, without a visit to each row's page at random.
CREATE INDEX IF NOT EXISTS IboMain_ByDate ON IboMain (DateWWIH NULLS FIRST);
CREATE INDEX IF NOT EXISTS IboMain_ByStatus ON IboMain (DescriptorStatus NULLS FIRST, DescriptorPriority NULLS FIRST,
    DateWWIH NULLS FIRST, IboValueNumeric NULLS FIRST, IboNumber NULLS FIRST)
    INCLUDE (RecStatusArchive, RecStatusDelete, IboID, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi,
             DescriptorUwih, Product, IboValueDecimal, DateQualified, DateWonLostCancel, Note);

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

-- The stored-query catalogue. A view creates a query missing from it on first use, where
-- its role may write here.
CREATE TABLE IF NOT EXISTS BrevQueryDefs (
    Name text NOT NULL,
    SQL  text NOT NULL
);
CREATE UNIQUE INDEX IF NOT EXISTS BrevQueryDefs_Name ON BrevQueryDefs (lower(Name));

-- The stored queries the views read, made here by whoever may write this table (the
-- administrator who runs this script), so that no salesperson's role needs to: a stored
-- query is run as it stands by every colleague's view, so writing one is writing the SQL
-- the whole team runs. A query already stored is left as it is.
INSERT INTO BrevQueryDefs (Name, SQL) VALUES
    ('V21_GetIbosForFlatViewFromMain',
     'SELECT IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, Product, IboValueNumeric, IboValueDecimal, DescriptorStatus, Note FROM IboMain WHERE ((RecStatusArchive = False) And (RecStatusDelete = False)) ORDER BY DateWWIH;'),
    ('V21_GetIbosForFlatViewFromArchive',
     'SELECT IboID, IboNumber, DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, Product, IboValueNumeric, IboValueDecimal, DescriptorStatus, Note FROM IboArchive;'),
    ('V21_GetIbosForForecastView',
     'SELECT IboID,IboNumber,DateWWIH,ConFirstName,ConLastName,ConCompany, DescriptorUwwgi, DescriptorUwih, Product,IboValueNumeric, IboValueDecimal,DescriptorStatus,DateWonLostCancel, Note FROM IboMain WHERE ((DescriptorStatus=1) OR (DescriptorStatus=2)) AND ((RecStatusArchive=False) AND (RecStatusDelete=False))'),
    ('V21_GetIbosForPriorityViewOverdues',
     'SELECT DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, IboValueNumeric, IboValueDecimal, Product, DateQualified, IboID, DescriptorPriority, IboNumber, Note FROM IboMain WHERE ((DescriptorStatus = 1) And (RecStatusArchive = False) And (RecStatusDelete = False) And (DateWWIH < Date())) ORDER BY DescriptorPriority, DateWWIH, IboValueNumeric, IboNumber;'),
    ('V21_GetIbosForPriorityView',
     'SELECT DateWWIH, ConFirstName, ConLastName, ConCompany, DescriptorUwwgi, DescriptorUwih, IboValueNumeric, IboValueDecimal, Product, DateQualified, IboID, DescriptorPriority, IboNumber, Note FROM IboMain WHERE ((DescriptorStatus = 1) And (RecStatusArchive = False) And (RecStatusDelete = False) And (DateWWIH >= Date()) And (DescriptorPriority = @Priority)) ORDER BY DateWWIH, IboValueNumeric, IboNumber;')
ON CONFLICT (lower(Name)) DO NOTHING;

-- Open views learn of a colleague's change through a notification on the channel
-- "brev_ibos_changed", whose payload is the schema of the changed table. Statement-level
-- triggers keep a bulk load or a refresh's batch of writes to one notification, and the
-- server sends one per channel and payload per transaction whatever the count. An UPDATE
-- notifies only when some row really differs (compared as text, so that any column type
-- will do): a write that stores what was already there wakes no one.
CREATE OR REPLACE FUNCTION brev_notify_ibos_changed() RETURNS trigger LANGUAGE plpgsql AS $$
DECLARE
    changed boolean := true;
BEGIN
    -- One branch per kind: each trigger names only the transition tables it has.
    IF TG_OP = 'INSERT' THEN
        changed := EXISTS (SELECT 1 FROM brev_new);
    ELSIF TG_OP = 'DELETE' THEN
        changed := EXISTS (SELECT 1 FROM brev_old);
    ELSIF TG_OP = 'UPDATE' THEN
        changed := EXISTS (SELECT n::text FROM brev_new n EXCEPT ALL SELECT o::text FROM brev_old o);
    END IF;
    IF changed THEN
        PERFORM pg_notify('brev_ibos_changed', TG_TABLE_SCHEMA);
    END IF;
    RETURN NULL;
END
$$;
CREATE OR REPLACE TRIGGER IboMain_Inserted AFTER INSERT ON IboMain REFERENCING NEW TABLE AS brev_new
    FOR EACH STATEMENT EXECUTE FUNCTION brev_notify_ibos_changed();
CREATE OR REPLACE TRIGGER IboMain_Updated AFTER UPDATE ON IboMain REFERENCING OLD TABLE AS brev_old NEW TABLE AS brev_new
    FOR EACH STATEMENT EXECUTE FUNCTION brev_notify_ibos_changed();
CREATE OR REPLACE TRIGGER IboMain_Deleted AFTER DELETE ON IboMain REFERENCING OLD TABLE AS brev_old
    FOR EACH STATEMENT EXECUTE FUNCTION brev_notify_ibos_changed();
CREATE OR REPLACE TRIGGER IboMain_Truncated AFTER TRUNCATE ON IboMain
    FOR EACH STATEMENT EXECUTE FUNCTION brev_notify_ibos_changed();
CREATE OR REPLACE TRIGGER IboArchive_Inserted AFTER INSERT ON IboArchive REFERENCING NEW TABLE AS brev_new
    FOR EACH STATEMENT EXECUTE FUNCTION brev_notify_ibos_changed();
CREATE OR REPLACE TRIGGER IboArchive_Updated AFTER UPDATE ON IboArchive REFERENCING OLD TABLE AS brev_old NEW TABLE AS brev_new
    FOR EACH STATEMENT EXECUTE FUNCTION brev_notify_ibos_changed();
CREATE OR REPLACE TRIGGER IboArchive_Deleted AFTER DELETE ON IboArchive REFERENCING OLD TABLE AS brev_old
    FOR EACH STATEMENT EXECUTE FUNCTION brev_notify_ibos_changed();
CREATE OR REPLACE TRIGGER IboArchive_Truncated AFTER TRUNCATE ON IboArchive
    FOR EACH STATEMENT EXECUTE FUNCTION brev_notify_ibos_changed();
