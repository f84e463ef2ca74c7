#include "lab/demo/acts.h"
#include "lab/node/database.h"
#include "lab/node/standard.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

constexpr char kApprovalList[] = "/tmp/ApplicationData/Approvelist";
constexpr char kMeshList[] = "/tmp/backhaul_ap_list";
constexpr char kFirst[] = "02:00:00:00:00:20";
constexpr char kSecond[] = "02:00:00:00:00:21";

/// What another service of the root's firmware knows of the mesh's devices.
void database(Actor& root, const std::string& sql) {
    std::string error;
    if (database_run(root.node(), sql, error) != 0) {
        fprintf(stderr, "database: %s\n", error.c_str());
    }
}

void prober_misses(Stage& stage, Actor& root, int times) {
    database(root, "UPDATE Device SET Alive=0, nNotAlive=" + std::to_string(times) +
                       " WHERE ALMac='" + kSecond + "';");
    stage.advance(10);
}

}  // namespace

void act_admission(Stage& stage, Actor& root, Actor& extender) {
    stage.act("A second daemon as root admits the extender");
    database(root, std::string("DELETE FROM Device WHERE DevType='L2Device';"
                               "INSERT INTO Device VALUES ('") +
                       kFirst + "', 1, 0, 'L2Device', 'Kitchen', '192.168.1.20');");
    stage.step("the root starts and announces itself every 5 seconds");
    stage.start(root, {"-m"});
    stage.see_log(root, "<-- backhaul_monitor start -->");
    stage.see_shell(root,
                    "echo -n 'ImRootAP' | openssl aes-128-cbc -e -k 'mesh-backhaul' > "
                    "/tmp/ssl_output",
                    6);
    stage.see_file(extender, "/tmp/rootap_ip", "192.168.1.1\n");

    stage.step("the extender is not approved: its request gets no reply");
    stage.command(extender, "network_reload");
    stage.see_shell(extender,
                    "echo -n 'CHECK_VALID' | openssl aes-128-cbc -e -k 'mesh-backhaul' > "
                    "/tmp/ssl_output");
    stage.see_log(root, "backhaul_notification_recv : recv CHECK_VALID from 192.168.1.20");
    stage.see_quiet(extender,
                    "backhaul_notification_recv : recv CHECK_VALID_REPLY from 192.168.1.1", 20);

    stage.step("it is approved: the next request is answered, and broadcasts go out from then on");
    file_write(root.node().at(kApprovalList), std::string(kFirst) + " 1 MRX70\n");
    stage.command(extender, "network_reload");
    stage.see_log(root, "backhaul_notification_recv : recv CHECK_VALID from 192.168.1.20");
    stage.see_log(extender, "backhaul_notification_recv : recv CHECK_VALID_REPLY from 192.168.1.1");
    stage.command(extender, "network_reload");
    stage.see_log(root, "backhaul_network_reload_handle : Enter");
}

void act_mesh_list(Stage& stage, Actor& root, Actor& second) {
    stage.act("Who is in the mesh");
    stage.step("a second extender joins");
    stage.start(second);
    database(root, std::string("INSERT INTO Device VALUES ('") + kSecond +
                       "', 1, 0, 'L2Device', 'Bedroom', '192.168.1.21');");
    stage.see_file(root, kMeshList, std::string(kFirst) + "\n" + kSecond + "\n", 11);
    stage.see_file(root, "/var/log/backhaul_log",
                   std::string("Kitchen(") + kFirst + ") join\nBedroom(" + kSecond + ") join\n");
    stage.see_file(second, "/tmp/rootap_ip", "192.168.1.1\n", 6);

    stage.step("the prober misses it twice: it stays");
    prober_misses(stage, root, 1);
    prober_misses(stage, root, 2);
    stage.see_file(root, kMeshList, std::string(kFirst) + "\n" + kSecond + "\n");

    stage.step("and a third time: it is gone");
    prober_misses(stage, root, 3);
    stage.see_file(root, kMeshList, std::string(kFirst) + "\n");
    stage.see_shell(root, std::string("vlog 0 0 \"Bedroom(") + kSecond + ") leave\"");

    stage.step("it is not approved: its request gets no reply");
    stage.command(second, "network_reload");
    stage.see_log(root, "backhaul_notification_recv : recv CHECK_VALID from 192.168.1.21");
    stage.see_quiet(second, "backhaul_notification_recv : recv CHECK_VALID_REPLY from 192.168.1.1",
                    10);
}

}  // namespace lab
