def main():
    i = 0
    t = 0
    w = "catalogue"
    while i < 3000000:
        i = i + 1
        out = "%d:%s" % (i, w)
        t = t + len(out)


main()
