#include "desk/cli/Kaveldesk.h"

int main(int argc, char** argv) {
    return kaveldesk::run(argc, argv);
}
