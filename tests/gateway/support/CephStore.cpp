#include "gateway/support/CephStore.h"

#include "ZelvoGateway/recordings/s3/S3Client.h"
#include "gateway/support/Becomes.h"

#include <sys/stat.h>

#include <fstream>
#include <stdexcept>

namespace zelvo::service {

namespace {

constexpr char const* clusterId = "6f1b0a52-5b1e-4f7c-9d53-2a3f4c5d6e70";
constexpr char const* daemonId = "0a9d2d3c-7a1f-4c65-8e8e-1b2c3d4e5f60";

} // namespace

CephStore* CephStore::shared()
{
    static std::unique_ptr<CephStore> const store = started();
    return store.get();
}

std::unique_ptr<CephStore> CephStore::started()
{
    for (char const* const needed :
         {"ceph", "ceph-mon", "ceph-osd", "radosgw", "radosgw-admin", "monmaptool"})
        if (!ChildProcess::exists(needed))
            return nullptr;
    return std::unique_ptr<CephStore>(new CephStore());
}

/// Everything is as fast as it can be: one copy, no authentication among the daemons, decisions at once.
void CephStore::writeConfiguration()
{
    std::string const root = folder.path.string();
    std::ofstream(folder.path / "ceph.conf")
        << "[global]\nfsid = " << clusterId << "\nmon_host = [v2:127.0.0.1:" << monitorPort << "/0]\n"
        << "public_network = 127.0.0.0/8\nms_bind_msgr1 = false\nms_mon_client_mode = crc\n"
           "auth_cluster_required = none\nauth_service_required = none\nauth_client_required = none\n"
           "auth_allow_insecure_global_id_reclaim = true\nosd_pool_default_size = 1\n"
           "osd_pool_default_min_size = 1\nosd_pool_default_pg_num = 1\nosd_pool_default_pgp_num = 1\n"
           "osd_pool_default_pg_autoscale_mode = off\nosd_crush_chooseleaf_type = 0\n"
           "mon_allow_pool_size_one = true\nosd_objectstore = memstore\npaxos_propose_interval = 0.02\n"
           "paxos_min_wait = 0.01\nmon_tick_interval = 1\nosd_heartbeat_interval = 1\n"
           "rgw_enable_apis = s3\nrgw_run_sync_thread = false\nrgw_enable_quota_threads = false\n"
           "rgw_thread_pool_size = 16\npid_file =\nlog_to_stderr = false\n"
        << "mon_data = " << root << "/mon\nosd_data = " << root << "/osd\nrgw_data = " << root << "/rgw\n"
        << "crash_dir = " << root << "\nrun_dir = " << root << "\nadmin_socket = " << root << "/$name.asok\n"
        << "log_file = " << root << "/$name.log\n";
}

CephStore::CephStore() : monitorPort(freePort()), port(freePort()), securePort(freePort())
{
    for (char const* const name : {"mon", "osd", "rgw"})
        std::filesystem::create_directory(folder.path / name);
    writeConfiguration();
    std::string const map = folder.path / "monmap";
    run({"monmaptool", "--create", "--fsid", clusterId, "--addv", "a",
         "[v2:127.0.0.1:" + std::to_string(monitorPort) + "/0]", map});
    run({"ceph-mon", "-i", "a", "--mkfs", "--monmap", map});
    start({"ceph-mon", "-i", "a", "-f"});
    run({"ceph", "--connect-timeout", "20", "osd", "new", daemonId});
    run({"ceph-osd", "-i", "0", "--mkfs", "--osd-uuid", daemonId});
    start({"ceph-osd", "-i", "0", "-f"});
    run({"radosgw-admin", "user", "create", "--uid=zelvo", "--display-name=zelvo", "--access-key=AKIATEST",
         "--secret-key=secret+of/tests"});
    std::string const key = folder.path / "key.pem";
    run({"openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=127.0.0.1",
         "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate()});
    start({"radosgw", "--no-mon-config",
           "--rgw-frontends=beast endpoint=127.0.0.1:" + std::to_string(port) + " ssl_endpoint=127.0.0.1:" +
               std::to_string(securePort) + " ssl_certificate=" + certificate() + " ssl_private_key=" + key,
           "-f"});
    S3Client client(place(), {.firstRetry = 50ms, .maxAttempts = 1});
    bool const isReady = becomes([&] {
        try {
            return client.perform({.method = "PUT"}).status == 200;
        } catch (RecordingFilesError const&) {
            return false;
        }
    });
    if (!isReady)
        throw std::runtime_error("the store does not answer");
}

void CephStore::start(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin() + 1, {"-c", folder.path / "ceph.conf"});
    daemons.insert(daemons.begin(),
                   std::make_unique<ChildProcess>(std::move(arguments), folder.path / "out"));
}

void CephStore::run(std::vector<std::string> arguments)
{
    if (arguments.front() != "monmaptool" && arguments.front() != "openssl")
        arguments.insert(arguments.begin() + 1, {"-c", folder.path / "ceph.conf"});
    std::string const name = arguments.front();
    if (ChildProcess(std::move(arguments), folder.path / "out").wait() != 0)
        throw std::runtime_error(name + " failed");
}

std::string CephStore::credentials(std::string const& access, std::string const& secret) const
{
    std::string const path = folder.path / ("credentials-" + access + "-" + std::to_string(secret.size()));
    std::ofstream(path) << "access-key = " << access << "\nsecret-key = " << secret << "\n";
    ::chmod(path.c_str(), 0600);
    return path;
}

S3Settings CephStore::place()
{
    return {.endpoint = "http://127.0.0.1:" + std::to_string(port),
            .bucket = "films",
            .prefix = "test/" + std::to_string(++places) + "/",
            .credentials = credentials("AKIATEST", "secret+of/tests"),
            .pathStyle = true};
}

S3Settings CephStore::securePlace()
{
    S3Settings secure = place();
    secure.endpoint = "https://127.0.0.1:" + std::to_string(securePort);
    return secure;
}

} // namespace zelvo::service
