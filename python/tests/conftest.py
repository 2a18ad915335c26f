"""Shared set-up of the qorsupport tests.

The module is imported from the build tree (PYTHONPATH names it). Dialogs go
to the scripted backend and the registry to a folder of its own, both chosen
here before the library first looks (it picks them once per process).
"""

import os
import pathlib
import shutil
import tempfile

import pytest

os.environ["QOR_UI"] = "scripted"
REGISTRY_DIR = tempfile.mkdtemp(prefix="qor-pytest-registry-")
os.environ["QOR_REGISTRY_DIR"] = REGISTRY_DIR

import qorsupport  # noqa: E402  (after the environment above)

TESTDATA = pathlib.Path(
    os.environ.get("QOR_TESTDATA_DIR", pathlib.Path(__file__).resolve().parents[2] / "testdata")
)
# The locale argument of CreateDatabase (dbLangGeneral).
LANG_GENERAL = ";LANGID=0x0409;CP=1252;COUNTRY=0"
HKEY_CURRENT_USER = -2147483647  # &H80000001 as a Long


def pytest_sessionfinish(session, exitstatus):
    shutil.rmtree(REGISTRY_DIR, ignore_errors=True)


@pytest.fixture(autouse=True)
def no_leftover_dialogs():
    """Each test starts with no queued answers and no recorded dialogs."""
    qorsupport.clear_answers()
    qorsupport.take_dialogs()
    yield
    qorsupport.clear_answers()
    qorsupport.take_dialogs()


@pytest.fixture
def engine():
    return qorsupport.Dispatch("DBEngine")


@pytest.fixture
def new_db(engine, tmp_path):
    """A new, empty database file of the embedded engine."""
    db = engine.CreateDatabase(str(tmp_path / "test.mdb"), LANG_GENERAL)
    yield db
    db.Close()


@pytest.fixture
def legacy_users(tmp_path):
    """A copy of the legacy Jet file users.mdb."""
    path = tmp_path / "users.mdb"
    shutil.copy(TESTDATA / "legacy" / "users.mdb", path)
    return path
