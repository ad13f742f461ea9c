#include "ZelvoGateway/store/WebhookSchema.h"

namespace zelvo::service {

// json_patch() leaves out what is null.
char const* const webhookSchema = R"sql(
CREATE TABLE IF NOT EXISTS webhooks (
    id TEXT PRIMARY KEY, url TEXT NOT NULL, events TEXT NOT NULL, secret TEXT NOT NULL, old_secret TEXT,
    old_until INTEGER, created_at TEXT NOT NULL, failing_since INTEGER, disabled_at INTEGER) STRICT;
CREATE TABLE IF NOT EXISTS webhook_events (
    id TEXT PRIMARY KEY, type TEXT NOT NULL, data TEXT NOT NULL, created_at TEXT NOT NULL) STRICT;
CREATE TABLE IF NOT EXISTS webhook_deliveries (
    sequence INTEGER PRIMARY KEY AUTOINCREMENT, id TEXT NOT NULL UNIQUE,
    webhook_id TEXT NOT NULL REFERENCES webhooks(id) ON DELETE CASCADE,
    event_id TEXT NOT NULL REFERENCES webhook_events(id), created_at TEXT NOT NULL,
    status TEXT NOT NULL DEFAULT 'waiting', attempts INTEGER NOT NULL DEFAULT 0, first_attempt INTEGER,
    due INTEGER NOT NULL DEFAULT 0, ended_at INTEGER, answer_status INTEGER, error TEXT) STRICT;
CREATE INDEX IF NOT EXISTS webhook_deliveries_by_status ON webhook_deliveries(webhook_id, status, due);
CREATE INDEX IF NOT EXISTS webhook_deliveries_by_date ON webhook_deliveries(webhook_id, created_at, id);
CREATE INDEX IF NOT EXISTS webhook_deliveries_of_event ON webhook_deliveries(event_id);
CREATE TABLE IF NOT EXISTS online_machines (
    machine_id TEXT PRIMARY KEY REFERENCES machines(id) ON DELETE CASCADE) STRICT;

CREATE TRIGGER IF NOT EXISTS webhook_fan_out AFTER INSERT ON webhook_events BEGIN
    INSERT INTO webhook_deliveries (id, webhook_id, event_id, created_at)
        SELECT 'dlv_' || lower(hex(randomblob(12))), id, NEW.id, NEW.created_at FROM webhooks
        WHERE disabled_at IS NULL AND instr(' ' || events || ' ', ' ' || NEW.type || ' ') > 0;
END;

CREATE TRIGGER IF NOT EXISTS webhook_connection_created AFTER INSERT ON connections
    WHEN EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'connection.created',
        json_patch('{}', json_object('connectionId', NEW.id, 'endUserId', NEW.end_user_id, 'kind', NEW.kind,
            'linkSessionId', (SELECT id FROM link_sessions WHERE connection_id = NEW.id),
            'machineId', NEW.machine_id,
            'scopes', json(iif(NEW.scopes = '', '[]', '["' || replace(NEW.scopes, ' ', '","') || '"]')))),
        NEW.created_at;
END;

CREATE TRIGGER IF NOT EXISTS webhook_connection_revoked AFTER UPDATE OF revoked_at ON connections
    WHEN OLD.revoked_at IS NULL AND NEW.revoked_at IS NOT NULL
        AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'connection.revoked',
        json_object('connectionId', NEW.id, 'endUserId', NEW.end_user_id, 'machineId', NEW.machine_id),
        NEW.revoked_at;
END;

CREATE TRIGGER IF NOT EXISTS webhook_connection_removed BEFORE DELETE ON connections
    WHEN OLD.revoked_at IS NULL AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'connection.revoked',
        json_object('connectionId', OLD.id, 'endUserId', OLD.end_user_id, 'machineId', OLD.machine_id),
        strftime('%Y-%m-%dT%H:%M:%fZ', 'now');
END;

CREATE TRIGGER IF NOT EXISTS webhook_command_ended AFTER UPDATE OF status ON queued_commands
    WHEN NEW.status IN ('completed', 'expired', 'failed') AND OLD.status <> NEW.status
        AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'command.' || NEW.status,
        json_patch('{}', json_object('commandId', NEW.id, 'connectionId', c.id, 'endUserId', c.end_user_id,
            'errorCode', json_extract(NEW.error, '$.code'), 'machineId', c.machine_id, 'method', NEW.method)),
        strftime('%Y-%m-%dT%H:%M:%fZ', NEW.ended_at / 1000.0, 'unixepoch')
        FROM connections c WHERE c.id = NEW.connection_id;
END;

CREATE TRIGGER IF NOT EXISTS webhook_recording_ready AFTER UPDATE OF stage ON recordings
    WHEN NEW.stage = 'ready' AND OLD.stage <> 'ready'
        AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'recording.ready',
        json_object('connectionId', c.id, 'durationSEC', NEW.duration_sec, 'endUserId', c.end_user_id,
            'machineId', c.machine_id, 'recordingId', NEW.id),
        strftime('%Y-%m-%dT%H:%M:%fZ', NEW.changed_at / 1000.0, 'unixepoch')
        FROM connections c WHERE c.id = NEW.connection_id;
END;

CREATE TRIGGER IF NOT EXISTS webhook_machine_paused AFTER UPDATE OF paused ON machines
    WHEN OLD.paused <> NEW.paused AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL) BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))),
        iif(NEW.paused, 'machine.paused', 'machine.resumed'), json_object('machineId', NEW.id),
        NEW.last_seen_at;
END;

CREATE TRIGGER IF NOT EXISTS webhook_machine_permissions AFTER UPDATE OF heartbeat ON machines
    WHEN OLD.heartbeat IS NOT NULL AND EXISTS (SELECT 1 FROM webhooks WHERE disabled_at IS NULL)
        AND json_extract(OLD.heartbeat, '$.permissions') IS NOT json_extract(NEW.heartbeat, '$.permissions') BEGIN
    INSERT INTO webhook_events SELECT 'evt_' || lower(hex(randomblob(12))), 'machine.permissions_changed',
        json_object('machineId', NEW.id, 'permissions', json(json_extract(NEW.heartbeat, '$.permissions'))),
        NEW.last_seen_at;
END;
)sql";

} // namespace zelvo::service
