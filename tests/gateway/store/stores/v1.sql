-- A store of version 1, with a row in nearly every table.
PRAGMA foreign_keys=OFF;
BEGIN TRANSACTION;
CREATE TABLE machines (
    id TEXT PRIMARY KEY, token_hash TEXT NOT NULL UNIQUE, kind TEXT NOT NULL, created_at TEXT NOT NULL,
    heartbeat TEXT, paused INTEGER NOT NULL DEFAULT 0, last_seen_at TEXT) STRICT;
INSERT INTO machines VALUES('mch_1','hash of a token','connected','2026-11-20T08:00:00.000Z',NULL,1,'2026-11-20T09:00:00.000Z');
CREATE TABLE connections (
    id TEXT PRIMARY KEY, machine_id TEXT NOT NULL REFERENCES machines(id) ON DELETE CASCADE,
    end_user_id TEXT NOT NULL, kind TEXT NOT NULL, scopes TEXT NOT NULL, platform_name TEXT NOT NULL,
    created_at TEXT NOT NULL, revoked_at TEXT, revocation_told INTEGER NOT NULL DEFAULT 0) STRICT;
INSERT INTO connections VALUES('con_1','mch_1','usr_1','connected','screen input','Acme','2026-11-20T08:01:00.000Z',NULL,0);
INSERT INTO connections VALUES('con_2','mch_1','usr_2','connected','screen','Blue','2026-11-20T08:02:00.000Z','2026-11-20T08:03:00.000Z',1);
CREATE TABLE link_sessions (
    id TEXT PRIMARY KEY, code_hash TEXT NOT NULL UNIQUE, end_user_id TEXT NOT NULL, scopes TEXT NOT NULL,
    expires_at INTEGER NOT NULL, machine_id TEXT REFERENCES machines(id) ON DELETE SET NULL,
    used INTEGER NOT NULL DEFAULT 0, created_at TEXT NOT NULL DEFAULT '', redirect_url TEXT, connection_id TEXT) STRICT;
INSERT INTO link_sessions VALUES('lks_1','hash of a code','usr_1','screen',1763625600,'mch_1',1,'',NULL,NULL);
CREATE TABLE end_users (
    id TEXT PRIMARY KEY, external_id TEXT NOT NULL UNIQUE, email TEXT, name TEXT, created_at TEXT NOT NULL) STRICT;
INSERT INTO end_users VALUES('usr_1','ada','ada@example.com','Ada','2026-11-20T08:00:00.000Z');
CREATE TABLE console_codes (code_hash TEXT PRIMARY KEY, expires_at INTEGER NOT NULL) STRICT;
INSERT INTO console_codes VALUES('hash of a code',1795000000);
CREATE TABLE queued_commands (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, method TEXT NOT NULL,
    summary TEXT NOT NULL, frame TEXT NOT NULL, status TEXT NOT NULL, expires_at INTEGER NOT NULL,
    bytes INTEGER NOT NULL, ended_at INTEGER, result TEXT, error TEXT) STRICT;
CREATE TABLE paused_agents (
    machine_id TEXT NOT NULL REFERENCES machines(id) ON DELETE CASCADE, ref TEXT NOT NULL,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, name TEXT NOT NULL, task TEXT,
    since INTEGER NOT NULL, PRIMARY KEY (machine_id, ref)) STRICT;
INSERT INTO queued_commands (sequence, id, connection_id, method, summary, frame, status, expires_at, bytes)
    VALUES(1,'cmd_1','con_1','shell.run','Run a command','{}','queued',1795000000000,2);
INSERT INTO paused_agents VALUES('mch_1','agt_1','con_1','Acme',NULL,1763625600);
CREATE TABLE shared_recordings (
    connection_id TEXT PRIMARY KEY REFERENCES connections(id) ON DELETE CASCADE) STRICT;
INSERT INTO shared_recordings VALUES('con_1');
CREATE TABLE recordings (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE,
    connection_id TEXT NOT NULL REFERENCES connections(id) ON DELETE CASCADE, stage TEXT NOT NULL,
    size_bytes INTEGER NOT NULL, duration_sec REAL NOT NULL, created_at INTEGER NOT NULL,
    deletes_at INTEGER NOT NULL, upload_until INTEGER NOT NULL, upload_hash TEXT NOT NULL UNIQUE,
    changed_at INTEGER NOT NULL DEFAULT 0) STRICT;
INSERT INTO recordings VALUES(1,'rec_1','con_1','ready',1000,1.5,1763625600000,1795000000000,1763629200000,'hash of a secret',1795408261338);
CREATE TABLE reserved_numbers (only_row INTEGER PRIMARY KEY CHECK (only_row = 1), next INTEGER NOT NULL) STRICT;
CREATE TABLE webhooks (
    id TEXT PRIMARY KEY, url TEXT NOT NULL, events TEXT NOT NULL, secret TEXT NOT NULL, old_secret TEXT,
    old_until INTEGER, created_at TEXT NOT NULL, failing_since INTEGER, disabled_at INTEGER) STRICT;
INSERT INTO webhooks VALUES('whk_1','https://example.com/hook','connection.created','a secret',NULL,NULL,'2026-11-20T08:00:00.000Z',NULL,NULL);
CREATE TABLE webhook_events (
    id TEXT PRIMARY KEY, type TEXT NOT NULL, data TEXT NOT NULL, created_at TEXT NOT NULL) STRICT;
INSERT INTO webhook_events VALUES('evt_1','connection.created','{}','2026-11-20T08:01:00.000Z');
CREATE TABLE webhook_deliveries (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE,
    webhook_id TEXT NOT NULL REFERENCES webhooks(id) ON DELETE CASCADE,
    event_id TEXT NOT NULL REFERENCES webhook_events(id), created_at TEXT NOT NULL,
    status TEXT NOT NULL DEFAULT 'waiting', attempts INTEGER NOT NULL DEFAULT 0, first_attempt INTEGER,
    due INTEGER NOT NULL DEFAULT 0, ended_at INTEGER, answer_status INTEGER, error TEXT) STRICT;
INSERT INTO webhook_deliveries VALUES(1,'dlv_60daaf4cdd818320ffbe3a93','whk_1','evt_1','2026-11-20T08:01:00.000Z','waiting',0,NULL,0,NULL,NULL,NULL);
CREATE TABLE online_machines (
    machine_id TEXT PRIMARY KEY REFERENCES machines(id) ON DELETE CASCADE) STRICT;
CREATE TABLE api_keys (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE, name TEXT NOT NULL,
    prefix TEXT NOT NULL, hash TEXT NOT NULL UNIQUE, reaches_all INTEGER NOT NULL, connections TEXT NOT NULL,
    end_users TEXT NOT NULL, created_at INTEGER NOT NULL, last_used_at INTEGER, revoked_at INTEGER) STRICT;
INSERT INTO api_keys VALUES(2,'key_1','Acme','zk_01234567','hash of a key',0,'["con_1"]','[]',1763625600000,NULL,NULL);
CREATE TABLE keys_of_commands (
    command_id TEXT PRIMARY KEY REFERENCES queued_commands(id) ON DELETE CASCADE, key_id TEXT NOT NULL) STRICT;
INSERT INTO keys_of_commands VALUES('cmd_1','key_1');
CREATE TABLE audit_events (
    id TEXT PRIMARY KEY, created_at TEXT NOT NULL, type TEXT NOT NULL, actor TEXT NOT NULL, key_id TEXT,
    key_name TEXT, key_prefix TEXT, connection_id TEXT, machine_id TEXT, end_user_id TEXT,
    details TEXT NOT NULL) STRICT;
INSERT INTO audit_events VALUES('aud_1','2026-11-20T08:00:00.000Z','key.created','admin',NULL,NULL,NULL,NULL,NULL,NULL,'{}');
CREATE TABLE answers (
    caller TEXT NOT NULL, key_hash TEXT NOT NULL, request_hash TEXT NOT NULL, created_at INTEGER NOT NULL,
    status INTEGER, sealed TEXT, PRIMARY KEY (caller, key_hash)) STRICT;
INSERT INTO answers VALUES('key_1','hash','hash',1763625600000,200,NULL);
DELETE FROM sqlite_sequence;
INSERT INTO sqlite_sequence VALUES('queued_commands',1);
INSERT INTO sqlite_sequence VALUES('recordings',1);
INSERT INTO sqlite_sequence VALUES('api_keys',2);
INSERT INTO sqlite_sequence VALUES('webhook_deliveries',1);
CREATE INDEX connections_of_machine ON connections(machine_id);
CREATE INDEX queued_commands_of_connection ON queued_commands(connection_id, status);
CREATE INDEX queued_commands_by_status ON queued_commands(status, expires_at);
CREATE INDEX recordings_of_connection ON recordings(connection_id, stage);
CREATE INDEX recordings_by_stage ON recordings(stage, deletes_at);
CREATE INDEX webhook_deliveries_by_status ON webhook_deliveries(webhook_id, status, due);
CREATE INDEX webhook_deliveries_by_date ON webhook_deliveries(webhook_id, created_at, id);
CREATE INDEX webhook_deliveries_of_event ON webhook_deliveries(event_id);
CREATE TRIGGER webhook_fan_out AFTER INSERT ON webhook_events BEGIN
    INSERT INTO webhook_deliveries (id, webhook_id, event_id, created_at)
        SELECT 'dlv_' || lower(hex(randomblob(12))), id, NEW.id, NEW.created_at FROM webhooks
        WHERE disabled_at IS NULL AND instr(' ' || events || ' ', ' ' || NEW.type || ' ') > 0;
END;
CREATE TRIGGER webhook_connection_created AFTER INSERT ON connections
    WHEN EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'connection.created',
        json_patch('{}', json_object('connectionId', NEW.id, 'endUserId', NEW.end_user_id, 'kind', NEW.kind,
            'linkSessionId', (SELECT id FROM link_sessions WHERE connection_id = NEW.id),
            'machineId', NEW.machine_id,
            'scopes', json(iif(NEW.scopes = '', '[]', '["' || replace(NEW.scopes, ' ', '","') || '"]')))),
        NEW.created_at;
END;
CREATE TRIGGER webhook_connection_revoked AFTER UPDATE OF revoked_at ON connections
    WHEN OLD.revoked_at IS NULL AND NEW.revoked_at IS NOT NULL
        AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'connection.revoked',
        json_object('connectionId', NEW.id, 'endUserId', NEW.end_user_id, 'machineId', NEW.machine_id),
        NEW.revoked_at;
END;
CREATE TRIGGER webhook_connection_removed BEFORE DELETE ON connections
    WHEN OLD.revoked_at IS NULL AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'connection.revoked',
        json_object('connectionId', OLD.id, 'endUserId', OLD.end_user_id, 'machineId', OLD.machine_id),
        strftime('%Y-%m-%dT%H:%M:%fZ', 'now');
END;
CREATE TRIGGER webhook_command_ended AFTER UPDATE OF status ON queued_commands
    WHEN NEW.status IN ('completed', 'expired', 'failed') AND OLD.status <> NEW.status
        AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'command.' || NEW.status,
        json_patch('{}', json_object('commandId', NEW.id, 'connectionId', c.id, 'endUserId', c.end_user_id,
            'errorCode', json_extract(NEW.error, '$.code'), 'machineId', c.machine_id, 'method', NEW.method)),
        strftime('%Y-%m-%dT%H:%M:%fZ', NEW.ended_at / 1000.0, 'unixepoch')
        FROM connections c WHERE c.id = NEW.connection_id;
END;
CREATE TRIGGER webhook_recording_ready AFTER UPDATE OF stage ON recordings
    WHEN NEW.stage = 'ready' AND OLD.stage <> 'ready'
        AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'recording.ready',
        json_object('connectionId', c.id, 'durationSEC', NEW.duration_sec, 'endUserId', c.end_user_id,
            'machineId', c.machine_id, 'recordingId', NEW.id),
        strftime('%Y-%m-%dT%H:%M:%fZ', NEW.changed_at / 1000.0, 'unixepoch')
        FROM connections c WHERE c.id = NEW.connection_id;
END;
CREATE TRIGGER webhook_machine_paused AFTER UPDATE OF paused ON machines
    WHEN OLD.paused <> NEW.paused AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))),
        iif(NEW.paused, 'machine.paused', 'machine.resumed'), json_object('machineId', NEW.id),
        NEW.last_seen_at;
END;
CREATE TRIGGER webhook_machine_permissions AFTER UPDATE OF heartbeat ON machines
    WHEN OLD.heartbeat IS NOT NULL AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL)
        AND json_extract(OLD.heartbeat, '$.permissions') IS NOT json_extract(NEW.heartbeat, '$.permissions') BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'machine.permissions_changed',
        json_object('machineId', NEW.id, 'permissions', json(json_extract(NEW.heartbeat, '$.permissions'))),
        NEW.last_seen_at;
END;
CREATE INDEX commands_of_key ON keys_of_commands(key_id);
CREATE INDEX audit_events_by_time ON audit_events(created_at, id);
CREATE INDEX audit_events_of_connection ON audit_events(connection_id, created_at, id);
CREATE TRIGGER audit_pause AFTER UPDATE OF paused ON machines WHEN old.paused <> new.paused BEGIN
    INSERT INTO audit_events (id, created_at, type, actor, machine_id, connection_id, end_user_id, details)
    SELECT printf('aud_%016x', CAST((julianday(new.last_seen_at) - 2440587.5) * 86400000000 AS INTEGER)) ||
            lower(hex(randomblob(4))), new.last_seen_at, iif(new.paused, 'machine.paused', 'machine.resumed'),
            'end_user', new.id, c.id, c.end_user_id, '{}'
        FROM (SELECT 1) LEFT JOIN connections c ON c.machine_id = new.id AND c.revoked_at IS NULL;
END;
CREATE TRIGGER audit_removed_at_machine AFTER UPDATE OF heartbeat ON machines
    WHEN new.kind = 'connected' AND json_type(new.heartbeat, '$.grantedConnectionIds') = 'array'
        AND json_extract(old.heartbeat, '$.grantedConnectionIds') <> json_extract(new.heartbeat, '$.grantedConnectionIds')
BEGIN
    INSERT INTO audit_events (id, created_at, type, actor, machine_id, connection_id, end_user_id, details)
    SELECT printf('aud_%016x', CAST((julianday(new.last_seen_at) - 2440587.5) * 86400000000 AS INTEGER)) ||
            lower(hex(randomblob(4))), new.last_seen_at, 'connection.removed', 'end_user', new.id, c.id,
            c.end_user_id, '{}'
        FROM connections c WHERE c.machine_id = new.id AND c.revoked_at IS NULL
            AND c.id IN (SELECT value FROM json_each(old.heartbeat, '$.grantedConnectionIds'))
            AND c.id NOT IN (SELECT value FROM json_each(new.heartbeat, '$.grantedConnectionIds'));
END;
CREATE INDEX answers_by_time ON answers(created_at);
COMMIT;
PRAGMA user_version = 1;
