-- The audit trail.

-- One chain for each name of a server; consoles without a name share "console".
CREATE TABLE audit_chain(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    name TEXT NOT NULL UNIQUE
);

-- at, recorded: ms since 1970 UTC. The columns between kind and payload repeat what stands in the payload, for queries;
-- they are no references: an item may be gone before its events. payload: JSON, NULL when it was erased.
CREATE TABLE event(
    chain INTEGER NOT NULL REFERENCES audit_chain(id) ON DELETE RESTRICT,
    seq INTEGER NOT NULL,
    at INTEGER NOT NULL,
    recorded INTEGER NOT NULL,
    kind INTEGER NOT NULL,
    access_point INTEGER,
    "user" INTEGER,
    medium INTEGER,
    operator TEXT,
    payload TEXT,
    payload_hash BLOB NOT NULL,
    hash BLOB NOT NULL,
    PRIMARY KEY(chain, seq)
) WITHOUT ROWID;
CREATE INDEX event_at ON event(at);
CREATE INDEX event_user ON event("user", at) WHERE "user" IS NOT NULL;
CREATE INDEX event_access_point ON event(access_point, at) WHERE access_point IS NOT NULL;

-- Signed statements of where a chain stood.
CREATE TABLE audit_head(
    chain INTEGER NOT NULL,
    seq INTEGER NOT NULL,
    at INTEGER NOT NULL,
    hash BLOB NOT NULL,
    signature BLOB NOT NULL,
    reason TEXT NOT NULL,
    PRIMARY KEY(chain, seq, at)
) WITHOUT ROWID;

-- How far the events of a device are stored: each number of an epoch once.
CREATE TABLE device_journal(
    device INTEGER NOT NULL,
    epoch TEXT NOT NULL,
    stored INTEGER NOT NULL,
    lost INTEGER NOT NULL DEFAULT 0,
    PRIMARY KEY(device, epoch)
) WITHOUT ROWID;
