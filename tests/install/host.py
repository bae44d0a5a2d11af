import vorlix

with vorlix.Server() as server:
    r = server.fmt_Date(19991231, 0, 10, "%d.%m.%Y")
    print(r.code, r.result)
