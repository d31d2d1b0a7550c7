-- What servers tell a broker.

CREATE TABLE bridge_source(
    server TEXT COLLATE "C" NOT NULL,
    source TEXT COLLATE "C" NOT NULL,
    epoch TEXT COLLATE "C" NOT NULL,
    seq BIGINT NOT NULL,
    acknowledged BIGINT NOT NULL,
    PRIMARY KEY(server, source)
);

CREATE TABLE bridge_message(
    server TEXT COLLATE "C" NOT NULL,
    source TEXT COLLATE "C" NOT NULL,
    seq BIGINT NOT NULL,
    topics TEXT COLLATE "C" NOT NULL,
    payload TEXT COLLATE "C" NOT NULL,
    PRIMARY KEY(server, source, seq)
);

CREATE TABLE bridge_position(
    stream TEXT COLLATE "C" PRIMARY KEY,
    position BIGINT NOT NULL
);

CREATE TABLE bridge_lock(
    name TEXT COLLATE "C" PRIMARY KEY,
    holder TEXT COLLATE "C" NOT NULL,
    beat BIGINT NOT NULL
);
