-- What servers do for each other's devices.

-- Servers that live, by a sign of life; all times are ms since 1970 UTC by the clock of the database.
CREATE TABLE device_holder(
    holder TEXT PRIMARY KEY,
    server TEXT NOT NULL,
    at INTEGER NOT NULL
) WITHOUT ROWID;

-- The newest link of each device. details: JSON, what others may see of it.
CREATE TABLE device_link(
    device INTEGER PRIMARY KEY,
    holder TEXT NOT NULL REFERENCES device_holder(holder) ON DELETE CASCADE,
    since INTEGER NOT NULL,
    details TEXT NOT NULL
);
CREATE INDEX device_link_holder ON device_link(holder);

-- Each is executed once, by the server that holds the link. state: 0 waits, 1 taken, 2 answered, 3 came too late.
CREATE TABLE device_command(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    device INTEGER NOT NULL,
    kind TEXT NOT NULL,
    operator TEXT NOT NULL,
    made INTEGER NOT NULL,
    expires INTEGER NOT NULL,
    state INTEGER NOT NULL,
    body TEXT NOT NULL,
    error TEXT NOT NULL,
    answer TEXT NOT NULL
);
CREATE INDEX device_command_device ON device_command(device, state);
