#include "command.h"

#include <cstdio>
#include <string>

namespace qor::tool {

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"automation", "serve the library's classes as JSON lines on stdin/stdout",
       "usage: qor automation\n"
       "\n"
       "Reads one JSON request per line from standard input and writes one reply per\n"
       "line to standard output (create, call, get, set, release, answers). Dialogs\n"
       "are answered from queued answers, else with their default answer, and are\n"
       "reported in each reply's \"ui\" list.\n",
       &RunAutomation},
      {"demo", "show the library's message boxes on the current user interface",
       "usage: qor demo\n"
       "\n"
       "Sets the application name and shows each kind of message box and report once.\n"
       "Without a display (or with QOR_UI=headless) the boxes are written to standard\n"
       "error and answered with their default button.\n",
       &RunDemo},
      {"msgbox", "show a message box; prints the button's code",
       "usage: qor msgbox [--buttons N] [--icon N] [--default N] [--app NAME] MSG1 [MSG2 [MSG3]]\n"
       "\n"
       "Shows qorForms.MsgGrunt: the parts on lines of their own, titled with the\n"
       "application name and the icon's title word. --buttons 0 OK, 1 OK/Cancel,\n"
       "2 Retry/Cancel, 3 Yes/No, 4 Yes/No/Cancel; --icon 0 information, 1 question,\n"
       "2 exclamation, 3 critical; --default 1 to 3. Prints the code of the button\n"
       "(1 OK, 2 Cancel, 4 Retry, 6 Yes, 7 No); exit status 1 for Cancel.\n",
       &RunMsgBox},
      {"input", "ask for one line of text; prints it",
       "usage: qor input [--app NAME] PROMPT [DEFAULT]\n"
       "\n"
       "Shows the input box of qorForms.InputForm. Prints the text confirmed; exit\n"
       "status 1 when cancelled.\n",
       &RunInput},
      {"list", "choose from a list; prints the choice",
       "usage: qor list [--title T] [--sorted 0|1|2] [--multi] [--fixed] [--big] [--index]\n"
       "                [ITEM...]\n"
       "\n"
       "Shows qorList with the items given, or with the lines of standard input when\n"
       "none are given. --sorted 1 ascending, 2 descending; --multi lets several be\n"
       "chosen (one printed per line); --fixed uses a fixed-width font; --big the large\n"
       "size. Prints the chosen item, or with --index its 0-based position in the\n"
       "order given; exit status 1 when cancelled.\n",
       &RunList},
      {"calendar", "pick a date; prints it as YYYY-MM-DD",
       "usage: qor calendar [--title T] [DATE]\n"
       "\n"
       "Shows qorForms.CalendarForm starting at DATE (today when none). Prints the\n"
       "chosen date; exit status 1 when cancelled.\n",
       &RunCalendar},
      {"menu", "choose from a menu of up to 13 items; prints the number",
       "usage: qor menu [--title T] [--heading1 H] [--heading2 H] ITEM...\n"
       "\n"
       "Shows qorForms.MenuForm with up to 13 items (an empty item leaves its row out\n"
       "and keeps the numbers). Keys 1-9 and A-D choose, N cancels. Prints the number\n"
       "chosen; exit status 1 for cancel (0).\n",
       &RunMenu},
      {"requester", "ask a yes/no question with free captions; prints 6 or 7",
       "usage: qor requester [--yes C] [--no C] [--title T] [--font F] [--font-size N]\n"
       "                     [--button-font F] [--button-font-size N] LINE1 [LINE2 [LINE3]]\n"
       "\n"
       "Shows qorForms.Requester; lines wider than the form are cut. Prints 6 for the\n"
       "yes button; prints 7 and leaves with status 1 otherwise.\n",
       &RunRequester},
      {"file", "choose a file; prints its path",
       "usage: qor file [--dir D] [--filter-name NAME] [--filter PATTERNS] [--save]\n"
       "                [--ext EXT] [--title T]\n"
       "\n"
       "Shows qorWinAPI.GetFileName. PATTERNS are separated by \";\" (*.txt;*.log).\n"
       "Without --save the file must exist; with --save and --ext the extension is\n"
       "added when missing. Prints the path; exit status 1 when cancelled.\n",
       &RunFile},
      {"folder", "choose a folder; prints its path",
       "usage: qor folder [--title T]\n"
       "\n"
       "Shows qorWinAPI.GetFolderName. Prints the folder; exit status 1 when\n"
       "cancelled.\n",
       &RunFolder},
      {"richtext", "edit rich text in the editor form; prints it as RTF",
       "usage: qor richtext [--file F] [--open] [--save] [--print] [--title T] [TEXT]\n"
       "\n"
       "Shows qorForms.RichTextForm with TEXT (RTF or plain text) or the content of\n"
       "the file F. --open, --save and --print enable the form's Open, Save, and\n"
       "Print and Preview buttons. Prints the edited text as RTF when the user\n"
       "presses OK; exit status 1 when cancelled.\n",
       &RunRichText},
      {"printers", "list the printers, show or set the default printer",
       "usage: qor printers [--default | --set DEVICE]\n"
       "\n"
       "Without arguments lists the installed printers, one device text\n"
       "(name,driver,port) a line, the default marked \"(default)\". --default prints\n"
       "the default printer's device text; --set makes DEVICE (a device text, or just\n"
       "a printer's name) the user's default. Printers are the CUPS destinations of\n"
       "the server CUPS_SERVER names; the default is kept as `lpoptions -d` keeps it.\n",
       &RunPrinters},
      {"open", "open documents with the desktop's application for their type",
       "usage: qor open FILE...\n"
       "\n"
       "Hands each file to the application the desktop registers for its MIME type\n"
       "(desktop entries and mimeapps.list, as xdg-open chooses) and returns without\n"
       "waiting for it. Exits with 1 when a file could not be handed over.\n",
       &RunOpen},
      {"print", "print documents on the default printer",
       "usage: qor print FILE...\n"
       "\n"
       "Submits each file as a job to the default CUPS destination. Exits with 1 when\n"
       "a file could not be submitted (no such file, no default printer, a type the\n"
       "printer does not take).\n",
       &RunPrint},
      {"reg", "export, import, read, write, list, clone and delete registry keys",
       "usage: qor reg export KEY FILE [--append]\n"
       "       qor reg import FILE\n"
       "       qor reg get KEY NAME\n"
       "       qor reg set KEY NAME TEXT | qor reg set KEY NAME --dword NUMBER\n"
       "       qor reg list KEY\n"
       "       qor reg clone KEY DESTKEY\n"
       "       qor reg delete KEY\n"
       "\n"
       "KEY is a root and a path, as HKEY_CURRENT_USER\\Software\\Acme or\n"
       "HKCU\\Software\\Acme (HKCR, HKCU, HKLM, HKU, HKCC). The registry lives in\n"
       "SQLite files in $QOR_REGISTRY_DIR, else HKEY_CURRENT_USER in\n"
       "$XDG_CONFIG_HOME/qorSupport/registry and the other roots in\n"
       "/var/lib/qorSupport/registry. FILE is the registry export file.\n",
       &RunRegistry},
      {"ini", "read and write INI file entries",
       "usage: qor ini get FILE SECTION KEY\n"
       "       qor ini set FILE SECTION KEY [VALUE]\n"
       "\n"
       "get prints the entry (a blank SECTION lists the sections, a blank KEY the\n"
       "section's keys, one a line); set writes it, or deletes it without a VALUE.\n"
       "A FILE without a folder lives in $QOR_INI_DIR, else\n"
       "$XDG_CONFIG_HOME/qorSupport.\n",
       &RunIni},
      {"schema", "list a database's tables, write its structure table, apply an action table",
       "usage: qor schema list DATABASE\n"
       "       qor schema dump DATABASE [TABLE]\n"
       "       qor schema update DATABASE ACTIONTABLE [--verbose]\n"
       "\n"
       "list prints every table of DATABASE but the engine's own (MSys...): a line\n"
       "with its record count, then a line per field with its type and size (the\n"
       "qorDb.DumpTablesStructure listing).\n"
       "dump rebuilds the structure table TABLE (default TableStructure) in DATABASE\n"
       "from the tables whose Description holds TEMPLATE (any case) and prints its\n"
       "row count (qorDb.DumpAllTableStructuresToTable).\n"
       "update applies the rows of ACTIONTABLE, a table in DATABASE (columns\n"
       "TableName, Action NF/DF/NI/DI, fieldname, fieldtype, fieldlen, indexname,\n"
       "Field1..Field5, Primary, uniqueflag, Ignore, descflag, indexdname), in stored\n"
       "order until the first row that fails (qorDb.UpdateTables); --verbose adds\n"
       "the failing operation's own report.\n"
       "Reports are message boxes: standard error without a display. Exit status 0\n"
       "on success, 1 when the work failed, 2 for wrong arguments.\n",
       &RunSchema},
      {"db", "copy table structures and clone tables between database files",
       "usage: qor db copy-structure SRC DEST [TABLE [NEWNAME]]\n"
       "       qor db clone SRC DEST TABLE [NEWNAME] [--data] [--fail-if-exists]\n"
       "\n"
       "copy-structure copies the structure (fields, sizes, required and zero-length\n"
       "settings, indexes; no data, defaults, rules or display properties) of TABLE,\n"
       "under NEWNAME when given, or of every plain local table of SRC into DEST\n"
       "(qorDb.CopyTable); system, hidden and attached tables are passed over. It\n"
       "prints the tables that arrived.\n"
       "clone copies TABLE with its defaults, rules, indexes and the fields' display\n"
       "properties, under NEWNAME when given, and with --data every row, counter\n"
       "values included (qorDb.CloneTable); --fail-if-exists refuses a destination\n"
       "that already holds a table named TABLE. A copy of 10000 rows or more shows\n"
       "its progress on standard error. It prints the new table's name.\n"
       "\n"
       "SRC is opened for reading only. A DEST that does not exist is created, with\n"
       "\".MDB\" added to a name that does not end in it. Failures are reported by the\n"
       "library and end with status 1; nothing done before them is undone.\n",
       &RunDb},
      {"migrate", "copy a legacy Jet (.mdb) database into a new database file or a server",
       "usage: qor migrate [--quiet] SOURCE TARGET\n"
       "\n"
       "Copies every user table of SOURCE (a Jet 3 or Jet 4 .mdb file, or any database\n"
       "the engine opens) with its fields, indexes, properties and rows into TARGET.\n"
       "Shows a progress bar on standard error (--quiet: none) and prints the tables\n"
       "with their row counts in source and target, and what could not be carried\n"
       "over and why. A table whose row counts differ is an error.\n"
       "\n"
       "TARGET is either a new database file of the embedded engine, which also gets\n"
       "the stored queries as query definitions and must not exist, or an ODBC data\n"
       "source given as a connect string, \"ODBC;DSN=name;UID=user;PWD=password\",\n"
       "where the tables are created in the server's own SQL (descriptions become\n"
       "comments on PostgreSQL) and none of them may exist yet.\n"
       "\n"
       "When the migration fails the exit status is 1 and nothing is left behind: the\n"
       "new file is removed, the tables made on the server are dropped (any that\n"
       "could not be are named).\n",
       &RunMigrate},
      {"deploy", "create an application database's template tables on a server",
       "usage: qor deploy [--dsn DSN [--user U] [--password P]] [--dialect NAME]\n"
       "                  [--target FILE] [--example FILE] [DATABASE]\n"
       "\n"
       "Describes the tables of DATABASE whose Description holds TEMPLATE in its\n"
       "structure table and creates them on the server with qorDb.CreateODBCTables,\n"
       "then prints each table as the server reports it. Without DATABASE it first\n"
       "builds the example application database (--example, default example-app.mdb).\n"
       "Without --dsn the server is the embedded default: the SQLite file --target\n"
       "(default deployed.sqlite) through the SQLite ODBC driver, with a data source\n"
       "written to .qor-odbc/odbc.ini beside it. --dialect chooses the SQL: Auto (the\n"
       "server's own, the default here), Oracle (the Oracle-type statements),\n"
       "PostgreSQL, SQLite, MySQL (MariaDB) or SQLServer. Exit status 1 when a table\n"
       "could not be created.\n",
       &RunDeploy},
  };
  return commands;
}

const Command& FindCommand(const char* name) {
  for (const Command& c : Commands()) {
    if (std::string(c.name) == name) return c;
  }
  return Commands().front();
}

int UsageError(const Command& command, const std::string& message) {
  std::fprintf(stderr, "qor %s: %s\nTry 'qor %s --help'.\n", command.name, message.c_str(),
               command.name);
  return 2;
}

bool WantsHelp(const std::vector<std::string>& args) {
  for (const std::string& a : args) {
    if (a == "-h" || a == "--help") return true;
  }
  return false;
}

}  // namespace qor::tool
