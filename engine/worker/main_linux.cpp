#include "engine/worker/worker.h"

int main(int count, char** arguments) {
    return morvex::RunWorker({arguments + 1, arguments + count});
}
