-- When and from where each device was heard last, for those who look for one that is absent. at: seconds since 1970 UTC.
CREATE TABLE device_seen(
    device INTEGER PRIMARY KEY,
    at INTEGER NOT NULL,
    address TEXT NOT NULL
);
-- Mails that are to be sent. content: what is sent behind the line "From:"; created: seconds since 1970 UTC.
CREATE TABLE mail(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    created INTEGER NOT NULL,
    subject TEXT NOT NULL,
    content BLOB NOT NULL
);
-- To whom they go; one that was sent has no row. Seconds since 1970 UTC: next: not before that; held: whoever tries has
-- it until then. state: 0 waits, 1 given up. error: of the last try.
CREATE TABLE mail_recipient(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    mail INTEGER NOT NULL REFERENCES mail(id) ON DELETE CASCADE,
    address TEXT NOT NULL,
    state INTEGER NOT NULL,
    tries INTEGER NOT NULL,
    next INTEGER NOT NULL,
    held INTEGER NOT NULL,
    error TEXT NOT NULL
);
CREATE INDEX mail_recipient_next ON mail_recipient(state, next);
CREATE INDEX mail_recipient_mail ON mail_recipient(mail);
