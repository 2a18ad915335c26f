"""Scripted dialogs and the registry through qorsupport."""

import datetime as dt
import os

import pytest

import qorsupport
from conftest import HKEY_CURRENT_USER, REGISTRY_DIR
from qorsupport import ByRef, Record


def test_dialogs_take_queued_answers_then_defaults_and_are_reported():
    forms = qorsupport.Dispatch("qorForms")
    qorsupport.queue_answers([6, "typed", None, dt.datetime(2003, 3, 7)])
    assert forms.MsgYN("Post the batch?", "March") is True
    assert forms.InputForm("Name?", "x") == "typed"
    assert forms.InputForm("Name?") == ""  # Cancel
    assert forms.CalendarForm(dt.date(1850, 1, 1), "Due") == dt.datetime(2003, 3, 7)
    assert forms.MsgYNCancel("Save?") == 7  # nothing queued: the default button, No
    shown = qorsupport.take_dialogs()
    assert [d["kind"] for d in shown] == ["MsgBox", "InputBox", "InputBox", "Calendar", "MsgBox"]
    assert shown[0]["text"] == "Post the batch?\r\nMarch" and shown[0]["answer"] == 6
    assert shown[1]["default"] == "x"
    assert shown[2]["answer"] is None
    assert shown[3]["title"].strip() == "Due" and shown[3]["initial"] == dt.datetime(1850, 1, 1)
    assert qorsupport.take_dialogs() == []  # taken once
    # An answer of the wrong kind gets the default and is marked.
    qorsupport.queue_answers(["not a code"])
    forms.MsgOkCancel("Go?")
    assert qorsupport.take_dialogs()[0]["mismatch"] is True
    with pytest.raises(qorsupport.Error) as caught:
        qorsupport.queue_answers([object()])
    assert caught.value.number == 13


def test_a_record_by_reference_through_the_file_dialog(tmp_path):
    chosen = str(tmp_path / "ledger.csv")
    params = ByRef(Record("FileNameParams", Title="Export to", InitialDir=str(tmp_path)))
    qorsupport.queue_answers([chosen])
    assert qorsupport.Dispatch("qorWinAPI").GetFileNameParam(params) is True
    assert params.value.FilePath == chosen
    assert params.value.FileTitle == "ledger.csv"
    shown = qorsupport.take_dialogs()
    assert [(d["kind"], d["title"]) for d in shown] == [("FileDialog", "Export to")]


def test_registry_values_and_export_to_a_file(tmp_path):
    reg = qorsupport.Dispatch("qorWinAPIReg")
    key = "Software\\Acme\\Payroll"
    assert reg.RegistryCreateKey(HKEY_CURRENT_USER, key) is True
    assert reg.RegistrySaveValueString(HKEY_CURRENT_USER, key, "Company", "Acme Ltd") is True
    assert reg.RegistrySaveValueLong(HKEY_CURRENT_USER, key, "Year", 2026) is True
    assert reg.RegistryGetValueString(HKEY_CURRENT_USER, key, "Company") == "Acme Ltd"
    assert reg.RegistryGetValueLong(HKEY_CURRENT_USER, key, "Year") == 2026
    names = ByRef([])
    assert reg.RegistryGetAllValues(HKEY_CURRENT_USER, key, names) is True
    assert sorted(name.lower() for name, _ in names.value) == ["company", "year"]
    assert os.listdir(REGISTRY_DIR)  # the store lives in the test's own folder

    export = tmp_path / "payroll.reg"
    assert reg.RegistryWriteKeyToFile(HKEY_CURRENT_USER, key, str(export)) is True
    text = export.read_text(encoding="latin-1")
    assert "Company=Acme Ltd" in text and "Year=DWORD:000007EA" in text
    # The exported file brings the key back after it is gone.
    assert reg.RegistryDeleteKey(HKEY_CURRENT_USER, key) is True
    assert reg.RegistryCheckKey(HKEY_CURRENT_USER, key) is False
    assert reg.RegistryReadKeyFromFile(str(export)) is True
    assert reg.RegistryGetValueLong(HKEY_CURRENT_USER, key, "Year") == 2026
