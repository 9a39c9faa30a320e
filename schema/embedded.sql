-- The embedded database: plain tables that any SQLite tool from 3.31 on can read and write.
-- Dates are automation dates (days since 30 December 1899) and kept as REAL: a type name that says
-- no more than DATETIME would have SQLite turn whole days into integers.
-- Text keys compare without regard to case.

-- The version of all that follows; a program refuses one that is newer than it knows.
PRAGMA user_version = 1;

CREATE TABLE DW_SEC_COMP (
  CompID SMALLINT NOT NULL PRIMARY KEY,
  CompName NVARCHAR(100),
  ParentID SMALLINT,
  Priority SMALLINT,
  ImageIndex SMALLINT,
  ForceDisplay BIT NOT NULL,
  MaintType INT NOT NULL,
  SecGrpID NVARCHAR(128),
  RptCode NVARCHAR(10),
  Server NVARCHAR(128),
  MetaID NVARCHAR(100),
  AuthorizedRole NVARCHAR(128),
  SoftLock NVARCHAR(100),
  RowVersion BLOB
);

-- Read in the order of its key as a whole: so it is stored in that order.
CREATE TABLE DW_SEC_PC (
  MACNbr NVARCHAR(50) NOT NULL COLLATE NOCASE,
  ComputerID NVARCHAR(128) NOT NULL COLLATE NOCASE,
  CompID SMALLINT NOT NULL,
  MaintType INT NOT NULL,
  ActiveStatus BIT NOT NULL,
  ImageIndex SMALLINT NOT NULL,
  LastUser NVARCHAR(128),
  LastLogin DATETIME REAL,
  TotalLogins INT,
  ActivatedBy NVARCHAR(128),
  ActivateDate DATETIME REAL,
  DeactivatedBy NVARCHAR(128),
  DeactivateDate DATETIME REAL,
  SoftLock NVARCHAR(100),
  RowVersion BLOB,
  SoftwareVersion NVARCHAR(50),
  PRIMARY KEY (MACNbr, ComputerID, CompID)
) WITHOUT ROWID;
-- A PC is looked up by the name that its user knows.
CREATE INDEX DW_SEC_PC_ComputerID ON DW_SEC_PC (ComputerID);

CREATE TABLE DW_Reports (
  ReportName NVARCHAR(128) NOT NULL COLLATE NOCASE PRIMARY KEY,
  Title NVARCHAR(255),
  Author NVARCHAR(128),
  Created DATETIME REAL,
  Version NVARCHAR(50),
  RptGrpID NVARCHAR(128),
  ImageIndex SMALLINT,
  SQLStmnt NTEXT,
  ReportType NVARCHAR(10),
  ReportDesc NTEXT,
  MaintType SMALLINT,
  SoftLock NVARCHAR(100),
  RowVersion BLOB,
  Definition NTEXT,
  TTX_Binary BLOB,
  Report_Binary BLOB
);

-- The second name of the catalog, under which renamed reports are deleted.
CREATE VIEW DW_Report AS
  SELECT ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, SQLStmnt, ReportType,
         ReportDesc, MaintType, SoftLock, RowVersion, Definition, TTX_Binary, Report_Binary
  FROM DW_Reports;
CREATE TRIGGER DW_Report_Delete INSTEAD OF DELETE ON DW_Report BEGIN
  DELETE FROM DW_Reports WHERE ReportName = OLD.ReportName;
END;

-- Who may use the database. Hash is PBKDF2 with HMAC-SHA-512 of the password (UTF-8), 64 bytes.
CREATE TABLE DW_APP_ROLE (
  RoleName NVARCHAR(128) NOT NULL COLLATE NOCASE PRIMARY KEY,
  Salt BLOB NOT NULL,
  Iterations INT NOT NULL,
  Hash BLOB NOT NULL
);

-- The counter behind all row versions. Version is the counter as eight bytes, the highest first and
-- seven bits in each: of those char() makes one byte, in every version of SQLite.
-- The table has one row and no key: writers of different rows must not meet on it.
CREATE TABLE DW_ROW_VERSION (
  Counter INTEGER NOT NULL,
  Version BLOB GENERATED ALWAYS AS (CAST(char(
    Counter >> 49 & 127, Counter >> 42 & 127, Counter >> 35 & 127, Counter >> 28 & 127,
    Counter >> 21 & 127, Counter >> 14 & 127, Counter >> 7 & 127, Counter & 127) AS BLOB)) STORED
);
INSERT INTO DW_ROW_VERSION (Counter) VALUES (0);

-- Every write bumps the row's version, whoever writes. The last condition of the update triggers
-- keeps a trigger from answering its own write where recursive triggers are switched on; the first
-- one is for a writer whose row holds the newest version already.

CREATE TRIGGER DW_SEC_COMP_Insert AFTER INSERT ON DW_SEC_COMP BEGIN
  UPDATE DW_ROW_VERSION SET Counter = Counter + 1;
  UPDATE DW_SEC_COMP SET RowVersion = (SELECT Version FROM DW_ROW_VERSION)
  WHERE CompID = NEW.CompID;
END;
CREATE TRIGGER DW_SEC_COMP_Update AFTER UPDATE ON DW_SEC_COMP
WHEN NEW.RowVersion IS OLD.RowVersion
  OR NEW.RowVersion IS NOT (SELECT Version FROM DW_ROW_VERSION)
BEGIN
  UPDATE DW_ROW_VERSION SET Counter = Counter + 1;
  UPDATE DW_SEC_COMP SET RowVersion = (SELECT Version FROM DW_ROW_VERSION)
  WHERE CompID = NEW.CompID;
END;

CREATE TRIGGER DW_SEC_PC_Insert AFTER INSERT ON DW_SEC_PC BEGIN
  UPDATE DW_ROW_VERSION SET Counter = Counter + 1;
  UPDATE DW_SEC_PC SET RowVersion = (SELECT Version FROM DW_ROW_VERSION)
  WHERE MACNbr = NEW.MACNbr AND ComputerID = NEW.ComputerID AND CompID = NEW.CompID;
END;
CREATE TRIGGER DW_SEC_PC_Update AFTER UPDATE ON DW_SEC_PC
WHEN NEW.RowVersion IS OLD.RowVersion
  OR NEW.RowVersion IS NOT (SELECT Version FROM DW_ROW_VERSION)
BEGIN
  UPDATE DW_ROW_VERSION SET Counter = Counter + 1;
  UPDATE DW_SEC_PC SET RowVersion = (SELECT Version FROM DW_ROW_VERSION)
  WHERE MACNbr = NEW.MACNbr AND ComputerID = NEW.ComputerID AND CompID = NEW.CompID;
END;

CREATE TRIGGER DW_Reports_Insert AFTER INSERT ON DW_Reports BEGIN
  UPDATE DW_ROW_VERSION SET Counter = Counter + 1;
  UPDATE DW_Reports SET RowVersion = (SELECT Version FROM DW_ROW_VERSION)
  WHERE ReportName = NEW.ReportName;
END;
CREATE TRIGGER DW_Reports_Update AFTER UPDATE ON DW_Reports
WHEN NEW.RowVersion IS OLD.RowVersion
  OR NEW.RowVersion IS NOT (SELECT Version FROM DW_ROW_VERSION)
BEGIN
  UPDATE DW_ROW_VERSION SET Counter = Counter + 1;
  UPDATE DW_Reports SET RowVersion = (SELECT Version FROM DW_ROW_VERSION)
  WHERE ReportName = NEW.ReportName;
END;
