-- The model, logins and the log. A statement ends at a line that ends with a semicolon.

-- An id is never given twice, hence AUTOINCREMENT. parent: the owner of a medium or code, the door of a device or
-- authorization point, the calendar of a holiday or schedule.
CREATE TABLE item(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    kind INTEGER NOT NULL,
    class INTEGER NOT NULL DEFAULT 0,
    label TEXT NOT NULL,
    parent INTEGER REFERENCES item(id) ON DELETE RESTRICT
);
CREATE INDEX item_label ON item(kind, label, id);
CREATE INDEX item_kind ON item(kind, class, id);
CREATE INDEX item_parent ON item(parent, kind) WHERE parent IS NOT NULL;

CREATE TABLE property(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    kind INTEGER NOT NULL,
    name TEXT NOT NULL,
    UNIQUE(kind, name)
);

-- value: what filters look up, at most 200 characters; data: the whole value where that is not all of it.
CREATE TABLE property_value(
    item INTEGER NOT NULL REFERENCES item(id) ON DELETE CASCADE,
    property INTEGER NOT NULL REFERENCES property(id) ON DELETE CASCADE,
    type INTEGER NOT NULL,
    value TEXT NOT NULL,
    data BLOB,
    PRIMARY KEY(item, property)
) WITHOUT ROWID;
CREATE INDEX property_value_lookup ON property_value(property, value, item);

CREATE TABLE membership(
    group_id INTEGER NOT NULL REFERENCES item(id) ON DELETE CASCADE,
    user_id INTEGER NOT NULL REFERENCES item(id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    PRIMARY KEY(group_id, user_id)
) WITHOUT ROWID;
CREATE INDEX membership_user ON membership(user_id, group_id);

-- valid_from and valid_to: seconds since 1970 UTC, both included. Without a schedule: always.
CREATE TABLE access_right(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    holder INTEGER NOT NULL REFERENCES item(id) ON DELETE CASCADE,
    access_point INTEGER NOT NULL REFERENCES item(id) ON DELETE CASCADE,
    time_profile INTEGER REFERENCES item(id) ON DELETE RESTRICT,
    options INTEGER NOT NULL DEFAULT 0,
    valid_from INTEGER,
    valid_to INTEGER,
    properties TEXT
);
CREATE INDEX access_right_holder ON access_right(holder, access_point);
CREATE INDEX access_right_access_point ON access_right(access_point, holder);
CREATE INDEX access_right_time_profile ON access_right(time_profile) WHERE time_profile IS NOT NULL;

-- What other processes learn changes from. item 0: more items of that kind than are named one by one.
CREATE TABLE change(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    at INTEGER NOT NULL,
    server TEXT NOT NULL,
    kind INTEGER NOT NULL,
    item INTEGER NOT NULL,
    what INTEGER NOT NULL
);

CREATE TABLE login(
    name TEXT PRIMARY KEY,
    user INTEGER NOT NULL REFERENCES item(id) ON DELETE CASCADE,
    permissions INTEGER NOT NULL DEFAULT 0,
    algorithm TEXT NOT NULL,
    parameters TEXT NOT NULL,
    salt BLOB NOT NULL,
    hash BLOB NOT NULL,
    otp_secret BLOB,
    otp_step INTEGER NOT NULL DEFAULT 0
);
CREATE INDEX login_user ON login(user);

-- hash: SHA-256 of the session's id, which itself is stored nowhere.
CREATE TABLE session(
    hash BLOB PRIMARY KEY,
    login TEXT NOT NULL REFERENCES login(name) ON DELETE CASCADE,
    client TEXT NOT NULL,
    address TEXT NOT NULL,
    flags INTEGER NOT NULL,
    created INTEGER NOT NULL,
    expires INTEGER NOT NULL
);
CREATE INDEX session_login ON session(login);
CREATE INDEX session_expires ON session(expires);

CREATE TABLE system_log(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    at INTEGER NOT NULL,
    text TEXT NOT NULL,
    source TEXT NOT NULL,
    level INTEGER NOT NULL,
    class INTEGER NOT NULL,
    item INTEGER NOT NULL,
    flags INTEGER NOT NULL
);

-- Keys of the installation's own, made with it.
CREATE TABLE secret(
    name TEXT PRIMARY KEY,
    value BLOB NOT NULL
);
INSERT INTO secret(name, value) VALUES('system hash', randomblob(32));
