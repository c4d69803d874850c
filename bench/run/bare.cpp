// What any program of this toolchain costs: starting and ending.
int main() {
    return 0;
}
