/* Crashes, so that a test can tell whether a crash fails a test. */
int main(void) {
    return *(volatile int*)0;
}
