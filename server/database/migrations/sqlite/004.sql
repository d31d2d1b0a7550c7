-- What servers tell a broker.

-- Messages of one server and source are counted: `seq` is the number given last, `acknowledged` the last that the
-- broker is known to have. A server with rows here has a bridge.
CREATE TABLE bridge_source(
    server TEXT NOT NULL,
    source TEXT NOT NULL,
    epoch TEXT NOT NULL,
    seq INTEGER NOT NULL,
    acknowledged INTEGER NOT NULL,
    PRIMARY KEY(server, source)
) WITHOUT ROWID;

-- Those that wait for the broker, and the last ones that it has. topics: below the server's place, separated by blanks.
CREATE TABLE bridge_message(
    server TEXT NOT NULL,
    source TEXT NOT NULL,
    seq INTEGER NOT NULL,
    topics TEXT NOT NULL,
    payload TEXT NOT NULL,
    PRIMARY KEY(server, source, seq)
) WITHOUT ROWID;

-- How far other tables were gone through to make messages.
CREATE TABLE bridge_position(
    stream TEXT PRIMARY KEY,
    position INTEGER NOT NULL
);

-- Who tells the changes of those that have no bridge; a beat that stands still is a holder that is gone.
CREATE TABLE bridge_lock(
    name TEXT PRIMARY KEY,
    holder TEXT NOT NULL,
    beat INTEGER NOT NULL
);
