#include "OrvandelAppApp.hpp"

int main(int argc, char** argv) { return orvandel::OrvandelAppApp::run(argc, argv); }
