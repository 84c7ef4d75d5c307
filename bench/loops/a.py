def main():
    i = 0
    s = 0
    while i < 10000000:
        i = i + 1
        s = s + i % 7


main()
