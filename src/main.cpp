#include "MainDriver.h"

int main(int argc, char** argv) { return tarvek::RunTarvek(argc, argv); }
