-- The tables, the second name of the report catalog and the application role on SQL Server.
--
--   sqlcmd -S SERVER -E -d Velmar_Sec -b -v RolePassword="..." -i sqlserver.sql
--
-- runs it in the database that -d names; RolePassword becomes the role's password and must not hold
-- a single quote. Running it again changes nothing but that password: tables that are there stay as
-- they are, with their rows. Column names that some batch tools take for words of the language stand
-- in brackets. docs/sqlserver.md tells the rest.

IF DB_NAME() IN (N'master', N'model', N'msdb', N'tempdb')
BEGIN
  RAISERROR (N'This is a system database. Choose the database with -d.', 16, 1);
  SET NOEXEC ON;
END
GO

-- Statements write names of tables and columns in several letter cases, and keys compare without
-- regard to case.
IF EXISTS (SELECT 1 WHERE N'a' COLLATE DATABASE_DEFAULT <> N'A' COLLATE DATABASE_DEFAULT)
BEGIN
  RAISERROR (N'The database has to compare without regard to letter case (a collation with _CI_).', 16, 1);
  SET NOEXEC ON;
END
GO

IF OBJECT_ID(N'dbo.DW_SEC_COMP') IS NULL
CREATE TABLE dbo.DW_SEC_COMP (
  CompID smallint NOT NULL,
  CompName nvarchar(100) NULL,
  ParentID smallint NULL,
  [Priority] smallint NULL,
  ImageIndex smallint NULL,
  ForceDisplay bit NOT NULL,
  MaintType int NOT NULL,
  SecGrpID nvarchar(128) NULL,
  RptCode nvarchar(10) NULL,
  [Server] nvarchar(128) NULL,
  MetaID nvarchar(100) NULL,
  AuthorizedRole nvarchar(128) NULL,
  SoftLock nvarchar(100) NULL,
  [RowVersion] rowversion NOT NULL,
  CONSTRAINT PK_DW_SEC_COMP PRIMARY KEY CLUSTERED (CompID)
);
GO

IF OBJECT_ID(N'dbo.DW_SEC_PC') IS NULL
CREATE TABLE dbo.DW_SEC_PC (
  MACNbr nvarchar(50) NOT NULL,
  ComputerID nvarchar(128) NOT NULL,
  CompID smallint NOT NULL,
  MaintType int NOT NULL,
  ActiveStatus bit NOT NULL,
  ImageIndex smallint NOT NULL,
  LastUser nvarchar(128) NULL,
  LastLogin datetime NULL,
  TotalLogins int NULL,
  ActivatedBy nvarchar(128) NULL,
  ActivateDate datetime NULL,
  DeactivatedBy nvarchar(128) NULL,
  DeactivateDate datetime NULL,
  SoftLock nvarchar(100) NULL,
  [RowVersion] rowversion NOT NULL,
  SoftwareVersion nvarchar(50) NULL,
  CONSTRAINT PK_DW_SEC_PC PRIMARY KEY CLUSTERED (MACNbr, ComputerID, CompID)
);
GO

-- A PC is looked up by the name that its user knows.
IF INDEXPROPERTY(OBJECT_ID(N'dbo.DW_SEC_PC'), N'IX_DW_SEC_PC_ComputerID', 'IndexID') IS NULL
CREATE INDEX IX_DW_SEC_PC_ComputerID ON dbo.DW_SEC_PC (ComputerID);
GO

IF OBJECT_ID(N'dbo.DW_Reports') IS NULL
CREATE TABLE dbo.DW_Reports (
  ReportName nvarchar(128) NOT NULL,
  Title nvarchar(255) NULL,
  Author nvarchar(128) NULL,
  Created datetime NULL,
  [Version] nvarchar(50) NULL,
  RptGrpID nvarchar(128) NULL,
  ImageIndex smallint NULL,
  SQLStmnt nvarchar(max) NULL,
  ReportType nvarchar(10) NULL,
  ReportDesc nvarchar(max) NULL,
  MaintType smallint NULL,
  SoftLock nvarchar(100) NULL,
  [RowVersion] rowversion NOT NULL,
  [Definition] nvarchar(max) NULL,
  TTX_Binary varbinary(max) NULL,
  Report_Binary varbinary(max) NULL,
  CONSTRAINT PK_DW_Reports PRIMARY KEY CLUSTERED (ReportName)
);
GO

-- The name under which renamed reports are deleted.
IF OBJECT_ID(N'dbo.DW_Report') IS NULL
CREATE SYNONYM dbo.DW_Report FOR dbo.DW_Reports;
GO

-- Names without an owner mean the owner dbo once the role is entered.
DECLARE @statement nvarchar(max);
SET @statement = CASE
  WHEN EXISTS (SELECT 1 FROM sys.database_principals WHERE name = N'tarnwick_app' AND type = 'A')
  THEN N'ALTER' ELSE N'CREATE' END
  + N' APPLICATION ROLE tarnwick_app WITH PASSWORD = N''$(RolePassword)'', DEFAULT_SCHEMA = dbo';
EXEC (@statement);
GO

GRANT SELECT, INSERT, UPDATE, DELETE ON dbo.DW_SEC_COMP TO tarnwick_app;
GRANT SELECT, INSERT, UPDATE, DELETE ON dbo.DW_SEC_PC TO tarnwick_app;
GRANT SELECT, INSERT, UPDATE, DELETE ON dbo.DW_Reports TO tarnwick_app;
GRANT SELECT, DELETE ON dbo.DW_Report TO tarnwick_app;
GO

SET NOEXEC OFF;
GO
