// The simulator's Samba server, built into this test program.
#include "../../apps/devicesim/samba_server.cpp"
