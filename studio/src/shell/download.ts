/// Gives the person a file.
export function download(name: string, content: Blob): void {
    const address = URL.createObjectURL(content), link = document.createElement("a");
    link.href = address;
    link.download = name;
    link.click();
    setTimeout(() => URL.revokeObjectURL(address), 10_000);
}
