-- A store of before there were versions, with a row in each table.
CREATE TABLE IF NOT EXISTS machines (
    id TEXT PRIMARY KEY, token_hash TEXT NOT NULL UNIQUE, kind TEXT NOT NULL, created_at TEXT NOT NULL,
    heartbeat TEXT, paused INTEGER NOT NULL DEFAULT 0, last_seen_at TEXT) STRICT;
CREATE TABLE IF NOT EXISTS connections (
    id TEXT PRIMARY KEY, machine_id TEXT NOT NULL REFERENCES machines(id) ON DELETE CASCADE,
    end_user_id TEXT NOT NULL, kind TEXT NOT NULL, scopes TEXT NOT NULL, platform_name TEXT NOT NULL,
    created_at TEXT NOT NULL, revoked_at TEXT, revocation_told INTEGER NOT NULL DEFAULT 0) STRICT;
CREATE INDEX IF NOT EXISTS connections_of_machine ON connections(machine_id);
CREATE TABLE IF NOT EXISTS link_sessions (
    id TEXT PRIMARY KEY, code_hash TEXT NOT NULL UNIQUE, end_user_id TEXT NOT NULL, scopes TEXT NOT NULL,
    expires_at INTEGER NOT NULL, machine_id TEXT REFERENCES machines(id) ON DELETE SET NULL,
    used INTEGER NOT NULL DEFAULT 0) STRICT;
CREATE TABLE IF NOT EXISTS end_users (
    id TEXT PRIMARY KEY, external_id TEXT NOT NULL UNIQUE, email TEXT, name TEXT, created_at TEXT NOT NULL) STRICT;
CREATE TABLE IF NOT EXISTS console_codes (code_hash TEXT PRIMARY KEY, expires_at INTEGER NOT NULL) STRICT;
CREATE TABLE IF NOT EXISTS queued_commands (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, method TEXT NOT NULL,
    summary TEXT NOT NULL, frame TEXT NOT NULL, status TEXT NOT NULL, expires_at INTEGER NOT NULL,
    bytes INTEGER NOT NULL, ended_at INTEGER, result TEXT, error TEXT) STRICT;
CREATE INDEX IF NOT EXISTS queued_commands_of_connection ON queued_commands(connection_id, status);
CREATE INDEX IF NOT EXISTS queued_commands_by_status ON queued_commands(status, expires_at);
CREATE TABLE IF NOT EXISTS paused_agents (
    machine_id TEXT NOT NULL REFERENCES machines(id) ON DELETE CASCADE, ref TEXT NOT NULL,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, name TEXT NOT NULL, task TEXT,
    since INTEGER NOT NULL, PRIMARY KEY (machine_id, ref)) STRICT;
CREATE TABLE IF NOT EXISTS shared_recordings (
    connection_id TEXT PRIMARY KEY REFERENCES connections(id) ON DELETE CASCADE) STRICT;
CREATE TABLE IF NOT EXISTS recordings (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, stage TEXT NOT NULL,
    size_bytes INTEGER NOT NULL, duration_sec REAL NOT NULL, created_at INTEGER NOT NULL,
    deletes_at INTEGER NOT NULL, upload_until INTEGER NOT NULL, upload_hash TEXT NOT NULL UNIQUE,
    changed_at INTEGER NOT NULL DEFAULT 0) STRICT;
CREATE INDEX IF NOT EXISTS recordings_of_connection ON recordings(connection_id, stage);
CREATE INDEX IF NOT EXISTS recordings_by_stage ON recordings(stage, deletes_at);
INSERT INTO machines VALUES ('mch_1', 'hash of a token', 'connected', '2026-11-20T08:00:00.000Z', NULL, 1, '2026-11-20T09:00:00.000Z');
INSERT INTO connections VALUES ('con_1', 'mch_1', 'usr_1', 'connected', 'screen input', 'Acme', '2026-11-20T08:01:00.000Z', NULL, 0);
INSERT INTO connections VALUES ('con_2', 'mch_1', 'usr_2', 'connected', 'screen', 'Blue', '2026-11-20T08:02:00.000Z', '2026-11-20T08:03:00.000Z', 1);
INSERT INTO link_sessions VALUES ('lks_1', 'hash of a code', 'usr_1', 'screen', 1763625600, 'mch_1', 1);
INSERT INTO end_users VALUES ('usr_1', 'ada', 'ada@example.com', 'Ada', '2026-11-20T08:00:00.000Z');
INSERT INTO queued_commands (id, connection_id, method, summary, frame, status, expires_at, bytes)
    VALUES ('cmd_1', 'con_1', 'shell.run', 'Run a command', '{}', 'queued', 1795000000000, 2);
INSERT INTO paused_agents VALUES ('mch_1', 'agt_1', 'con_1', 'Acme', NULL, 1763625600);
INSERT INTO shared_recordings VALUES ('con_1');
INSERT INTO recordings (id, connection_id, stage, size_bytes, duration_sec, created_at, deletes_at, upload_until, upload_hash)
    VALUES ('rec_1', 'con_1', 'ready', 1000, 1.5, 1763625600000, 1795000000000, 1763629200000, 'hash of a secret');
