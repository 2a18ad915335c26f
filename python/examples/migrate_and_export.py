"""Moves a legacy Jet file into the embedded engine and records it.

    python3 migrate_and_export.py LEGACY.mdb WORK_FOLDER

1. copies every user table of the legacy file, with its data, into a new
   database WORK_FOLDER/migrated.mdb;
2. applies an action table that adds a field and an index to the copy;
3. reads one field by its key;
4. notes the migration under HKEY_CURRENT_USER\\Software\\Acme\\Migration and
   exports that key to WORK_FOLDER/migration.reg.
"""

import os
import sys

import qorsupport
from qorsupport import ByRef

HKEY_CURRENT_USER = -2147483647  # &H80000001
DB_TEXT, DB_LONG, DB_BOOLEAN = 10, 4, 1
LANG_GENERAL = ";LANGID=0x0409;CP=1252;COUNTRY=0"


def migrate(engine, qordb, legacy_path, target_path):
    """Copies the user tables; returns their names."""
    legacy = engine.OpenDatabase(legacy_path, False, True)  # read-only
    target = engine.CreateDatabase(target_path, LANG_GENERAL)
    copied = []
    for table in legacy.TableDefs:
        if table.Attributes == 0:  # not a system or linked table
            if not qordb.CloneTable(table.Name, legacy, target, True):
                raise SystemExit(f"could not copy {table.Name}")
            copied.append(table.Name)
    legacy.Close()
    return target, copied


def apply_actions(qordb, db):
    """Adds Users.Email and a unique index on it through an action table."""
    qordb.CreateTable(db, "Actions", "TableName", 50)
    columns = [("Action", DB_TEXT, 2), ("fieldname", DB_TEXT, 50), ("fieldtype", DB_TEXT, 2),
               ("fieldlen", DB_LONG, 0), ("indexname", DB_TEXT, 50)]
    columns += [(f"Field{i}", DB_TEXT, 50) for i in range(1, 6)]
    columns += [(flag, DB_BOOLEAN, 0) for flag in ("Primary", "uniqueflag", "Ignore", "descflag")]
    for name, kind, size in columns:
        qordb.CreateField(db, "Actions", name, kind, size)
    for row in [dict(TableName="Users", Action="NF", fieldname="Email", fieldtype="TE",
                     fieldlen=80),
                dict(TableName="Users", Action="NI", indexname="ByEmail", Field1="Email",
                     uniqueflag=True)]:
        actions = db.OpenRecordset("Actions")
        actions.AddNew()
        for field, value in row.items():
            actions.Fields(field).Value = value
        actions.Update()
        actions.Close()
    qordb.UpdateTables(db, "Actions", False)
    return [d["text"] for d in qorsupport.take_dialogs()]


def main(legacy_path, work):
    engine = qorsupport.Dispatch("DBEngine")
    qordb = qorsupport.Dispatch("qorDb")
    target_path = os.path.join(work, "migrated.mdb")

    db, copied = migrate(engine, qordb, legacy_path, target_path)
    print("copied:", ", ".join(copied))
    print("actions:", "; ".join(apply_actions(qordb, db)))
    print("Users fields:", ", ".join(f.Name for f in db.TableDefs("Users").Fields))
    rows = db.TableDefs("Users").RecordCount
    db.Close()

    name = ByRef()
    if qordb.FieldDataReadWrite(name, target_path, "Users", "UserId", 2, "UserName"):
        print("user 2:", name.value)

    reg = qorsupport.Dispatch("qorWinAPIReg")
    key = "Software\\Acme\\Migration"
    reg.RegistryCreateKey(HKEY_CURRENT_USER, key)
    reg.RegistrySaveValueString(HKEY_CURRENT_USER, key, "Target", target_path)
    reg.RegistrySaveValueLong(HKEY_CURRENT_USER, key, "Rows", rows)
    export = os.path.join(work, "migration.reg")
    try:
        reg.RegistryWriteKeyToFile(HKEY_CURRENT_USER, key, export)
    except qorsupport.Error as error:
        raise SystemExit(f"export failed: {error.number} {error.description}")
    print("exported:", export)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        raise SystemExit(__doc__)
    main(sys.argv[1], sys.argv[2])
