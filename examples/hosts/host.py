"""A whole host in Python: asks for the fields of a dialog until each of them is right, and shows them as a form.

From the root of the project:  python3 examples/hosts/host.py
"""

import vorlix


def ask(server, field):
    while True:
        try:
            result = server.scan(field, input(f"{field['fld']} ({field['typ']}, {field['len']}): "))
        except ValueError as error:  # a character that the server's encoding does not have
            print(f"  {error}")
            continue
        if result.rc == 0 or (result.rc == -1 and not field["req"]):
            return result.out
        print(f"  {result.meaning('rc')}")


with vorlix.Server() as server:
    server.dict_OpenModel("MUSTER", "examples/dict/muster.dic")
    server.dict_Open("KUNDEN", "examples/dict/kunden.dic", 1)
    values = {field["fld"]: ask(server, field) for field in server.fields("D01KUNDE") if field["objtype"] == "ET"}
    for field, shown in server.filtered("D01KUNDE", values):
        print(f"{field['fld']:12}[{shown}]")
