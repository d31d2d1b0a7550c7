CREATE TABLE device_state(
    device BIGINT PRIMARY KEY,
    revision TEXT COLLATE "C" NOT NULL,
    at BIGINT NOT NULL
);
CREATE TRIGGER device_state_tell AFTER INSERT OR UPDATE ON device_state FOR EACH STATEMENT
    EXECUTE FUNCTION kyr_tell();
