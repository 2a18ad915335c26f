"""The README's Python example: shown as it is, and running in a process of its own."""

import os
import pathlib
import subprocess
import sys

from conftest import TESTDATA

EXAMPLE = pathlib.Path(__file__).resolve().parents[1] / "examples" / "migrate_and_export.py"


def test_the_migration_example_runs(legacy_users, tmp_path):
    env = dict(os.environ, QOR_UI="scripted", QOR_REGISTRY_DIR=str(tmp_path / "registry"))
    work = tmp_path / "work"
    work.mkdir()
    done = subprocess.run([sys.executable, str(EXAMPLE), str(legacy_users), str(work)], env=env,
                          capture_output=True, text=True, timeout=120)
    assert done.returncode == 0, done.stderr
    assert done.stdout.splitlines() == [
        "copied: Users",
        "actions: Tables successfully updated",
        "Users fields: UserId, UserName, UserSex, UserBirthday, UserMarried, Email",
        "user 2: Angela",
        f"exported: {work / 'migration.reg'}",
    ]
    exported = (work / "migration.reg").read_text(encoding="latin-1")
    assert f"Target={work / 'migrated.mdb'}" in exported
    assert "Rows=DWORD:00000003" in exported
    assert legacy_users.read_bytes() == (TESTDATA / "legacy" / "users.mdb").read_bytes()


def test_the_readme_shows_the_example_as_it_is():
    readme = (EXAMPLE.parents[2] / "README.md").read_text(encoding="utf-8")
    section = readme[readme.index("\n## Python\n"):]
    block = section[section.index("```python\n") + len("```python\n"):]
    assert block[:block.index("```\n")] == EXAMPLE.read_text(encoding="utf-8")
