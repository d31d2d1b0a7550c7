-- What each device said last of the list it decides by, for those who do not hold its link. revision: empty for none;
-- at: seconds since 1970 UTC, when it said so.
CREATE TABLE device_state(
    device INTEGER PRIMARY KEY,
    revision TEXT NOT NULL,
    at INTEGER NOT NULL
);
